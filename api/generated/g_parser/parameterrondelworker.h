// The command side of the live link: carries out a tuning tool's requests.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>

#include "base/owned_array.h"
#include "parametercustomhandler.h"
#include "parameterrondelcombase.h"
#include "parametersetmanager.h"

class ParameterRondelCom;

// One thread takes the requests one after the other, so that replies leave in their order. A
// request that is too short, or that finds no memory, is dropped; one that fails has an empty
// reply.
class PARAMETER_API ParameterRondelWorker : public OnOrvoHeap {
 public:
  using Packet = ParameterRondelPacket;

  static constexpr uint32_t kTimeoutSeconds = 3;

  explicit ParameterRondelWorker(IParameterDataAPI* api);
  // With a transport of its own, which it takes.
  ParameterRondelWorker(IParameterDataAPI* api, ParameterRondelComBase* com);
  ~ParameterRondelWorker();
  ParameterRondelWorker(const ParameterRondelWorker&) = delete;
  ParameterRondelWorker& operator=(const ParameterRondelWorker&) = delete;

  // Nothing if it runs already. Any thread may call it, the worker's own as well.
  void Start();
  // Returns when all threads have ended. Not for the worker's own thread.
  void Stop();
  // The port that tools connect to; 0 while nothing listens, or with a transport of another kind.
  uint16_t GetLinkPort() const;
  // There was no way to install a handler: this one is ours. Null removes it; after that it isn't
  // called any more. The handler stays its owner's.
  void SetCustomHandler(IParameterCustomHandler* handler);

  // The loop of the worker thread.
  void ReadWorker();
  static void* ReadFunction(void* worker);
  // Carries out one request, whose bytes it may change, and queues the reply.
  void ProcessRequest(Packet& request);

  // True if each byte is printable ASCII or a NUL.
  static bool IsPrintable(const void* buffer, uint32_t length);

 private:
  using Handler = void (ParameterRondelWorker::*)(Packet& request);
  static const Handler kHandlers[];

  // parameterrondelworker_replies.cpp
  void ProcessDeviceInfo(Packet& request);
  void ProcessDataActiveModes(Packet& request);
  void ProcessDataControlValues(Packet& request);
  void ProcessDataModes(Packet& request);
  void ProcessDataInfo(Packet& request);
  void ProcessDataGetValues(Packet& request);
  void ProcessDataSetValues(Packet& request);
  void ProcessDataTriggerValues(Packet& request);
  void ProcessCustom(Packet& request);

  bool AllocateReply();
  bool BeginShortReply(uint16_t command);
  bool BeginReply(const Packet& request);
  void ReplyText(uint16_t command, bool (IParameterDataAPI::*get)(char*, uint32_t), uint32_t size,
                 const char* name, const char* what);
  bool QueueText(uint32_t offset);
  bool QueueFrame(uint32_t length);
  char* TextAt(uint32_t offset);
  uint32_t ReplyId() const;
  void WriteInfo(const char* modes, const char* path);
  void SetValues(const char* modes, const char* path, char* assignments);
  bool SetValue(const char* modes, const char* path, char* assignment);
  uint32_t CallHandler(const Packet& request, uint16_t& length);

  IParameterDataAPI* api_;
  ParameterRondelComBase* com_;
  ParameterRondelCom* server_ = nullptr;  // com_, if it has a port
  std::atomic<bool> stop_ = true;
  std::mutex lifeMutex_;
  std::atomic<bool> isRunning_ = false;
  ParameterRondelThread thread_;
  std::mutex handlerMutex_;  // held during a call
  IParameterCustomHandler* handler_ = nullptr;
  // Of the worker thread: kept from one request to the next.
  pdlib::OwnedArray<uint8_t> reply_;
  pdlib::OwnedArray<char> value_;
};
