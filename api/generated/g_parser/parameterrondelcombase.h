// The live link's transport without its socket: framing of requests, two threads, two queues.
#pragma once

#include <atomic>
#include <cstdint>

#include "base/owned_array.h"
#include "parameterlogging.h"
#include "parametermemory.h"
#include "parameterrondelframe.h"
#include "parameterrondelqueue.h"
#include "parameterrondelthread.h"

// One thread assembles requests out of what ReadData gives and queues them; the worker takes them
// out with Read and queues its replies; the other thread gives those to WriteData.
class PARAMETER_API ParameterRondelComBase : public OnOrvoHeap {
 public:
  using Packet = ParameterRondelPacket;

  static constexpr int32_t kTimeoutSeconds = 3;

  // The logger is the set manager.
  explicit ParameterRondelComBase(const IParameterLoggingAPI* logger);
  // A derived class stops first: the threads call its operations.
  virtual ~ParameterRondelComBase() = default;
  ParameterRondelComBase(const ParameterRondelComBase&) = delete;
  ParameterRondelComBase& operator=(const ParameterRondelComBase&) = delete;

  // Makes ready for a tool; false if there is no socket to be had.
  virtual bool StartCom() = 0;
  virtual void StopCom() = 0;
  // Bytes read, 0 without any after `timeoutSeconds` (negative: never) or a stop, -1 when the tool
  // has gone.
  virtual int32_t ReadData(void* buffer, uint32_t length, int32_t timeoutSeconds,
                           const std::atomic<bool>& stop) = 0;
  // Bytes written, or -1.
  virtual int32_t WriteData(const void* buffer, uint32_t length) = 0;
  // Ends, from another thread, what ReadData and WriteData wait for; `stop` is set.
  virtual void InterruptCom() {}

  // True if both threads run, with or without a socket.
  bool Start();
  void Stop();
  // The oldest request, which the caller deletes; null when none comes in time.
  Packet* Read(uint32_t timeoutSeconds);
  // Queues a reply for the write thread. False when there is no memory, or after a stop.
  bool QueueReply(const uint8_t* frame, uint32_t length);

  // Assembles one request; one longer than the buffer is cut. The bytes in the buffer; 0 after a
  // stop or the time-out (negative: none).
  uint32_t ReceiveRondelRequest(uint8_t* buffer, uint32_t length, uint32_t maxCommand,
                                int32_t timeoutSeconds, const std::atomic<bool>& stop);
  // The loops of the two threads.
  void ReadWorker();
  void WriteWorker();
  static void* ReadFunction(void* com);
  static void* WriteFunction(void* com);

 protected:
  const IParameterLoggingAPI* GetLogger() const { return logger_; }
  // What Start and the write thread are made of, for a transport without threads. The first forgets
  // what was received and opens the queues; each call of the other writes the oldest reply, and
  // gives false when none comes in time.
  void Open();
  bool WriteReply(uint32_t timeoutSeconds);

 private:
  enum class Check { kMore, kComplete, kBad };

  Check CheckHeader(uint32_t maxCommand);
  uint32_t TakeFrame(uint8_t* buffer, uint32_t length);
  int32_t ReadMore(int32_t timeoutSeconds, const std::atomic<bool>& stop);
  void WritePacket(const Packet& packet);

  const IParameterLoggingAPI* logger_;
  pdlib::OwnedArray<uint8_t> receiveBuffer_;
  pdlib::OwnedArray<uint8_t> frame_;  // of the read thread
  uint32_t first_ = 0;                // where the first frame in the receive buffer starts
  uint32_t fill_ = 0;                 // bytes from there on
  std::atomic<bool> stop_ = true;
  ParameterRondelThread readThread_;
  ParameterRondelThread writeThread_;
  ParameterRondelQueue readQueue_;
  ParameterRondelQueue writeQueue_;
};
