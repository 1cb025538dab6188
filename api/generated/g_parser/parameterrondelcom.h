// The live link's transport over a stream socket.
#pragma once

#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>

#include "parameterrondelcombase.h"

// Serves one tool at a time; others wait in the listen socket's backlog.
class PARAMETER_API ParameterRondelCom : public ParameterRondelComBase {
 public:
  // From where a tool may connect.
  enum class Reach { kNone, kLoopback, kAny };
  enum AddrType : uint32_t { kInternet = 0, kLocal = 1 };

  struct PARAMETER_API SocketAddress {
    static constexpr uint32_t kMaxPortText = 108;

    void SetupSocket(AddrType addrType, uint16_t portNumber);

    union {
      sockaddr any;
      sockaddr_in internet;
      sockaddr_un local;  // a name that no file stands for: its first character is a NUL
    } address{};
    AddrType type = kInternet;
    uint32_t length = 0;
    uint16_t port = 0;
    char portText[kMaxPortText + 1] = {};
  };

  // Both sockets. The read thread opens and closes the data connection, the write thread sends on
  // it; Interrupt may come from anywhere.
  class PARAMETER_API SocketID {
   public:
    explicit SocketID(const IParameterLoggingAPI* logger);
    ~SocketID();
    SocketID(const SocketID&) = delete;
    SocketID& operator=(const SocketID&) = delete;

    // Both addresses.
    void SetupAddresses(AddrType type, uint16_t port);
    // A listen socket of the local address' kind.
    bool CreateSocket();
    // Binds the local address and listens. If it can't, there is a fresh socket, or none.
    bool Listen();
    bool HasSocket() const { return listenSocket_ != kClosed; }
    AddrType GetType() const { return localAddress_.type; }
    uint16_t GetPort() const { return localAddress_.port; }
    // The data connection alone.
    void CloseConnection();
    // Both sockets and the addresses.
    void CloseSocket();
    // Makes all waits end at once until Resume.
    void Interrupt();
    void Resume();

    int32_t ReadData(void* buffer, uint32_t length, int32_t timeoutSeconds,
                     const std::atomic<bool>& stop);
    int32_t WriteData(const void* buffer, uint32_t length);

    void LogDebug(const char* text, int result) const;
    void LogError(const char* text, int result) const;

   private:
    static constexpr int kClosed = -1;

    bool Bind();
    bool WaitForInput(int socket) const;
    void Accept();

    const IParameterLoggingAPI* logger_;
    SocketAddress localAddress_;
    SocketAddress remoteAddress_;
    int listenSocket_ = kClosed;
    int wakeUp_;  // an event that is set while interrupted; kClosed if there is none
    // Of the data connection, which must not be closed while the write thread sends on it: its
    // number might be given to another file.
    std::mutex mutex_;
    std::condition_variable sent_;
    int connection_ = kClosed;
    bool isSending_ = false;
    bool isInterrupted_ = false;
  };

  // The port is another one, for tools of the maker.
  static bool UseInternalPort;

  explicit ParameterRondelCom(const IParameterLoggingAPI* logger);
  ~ParameterRondelCom() override { Stop(); }

  // What the library was built for; with kNone no manager has a link.
  static Reach GetReach();

  bool StartCom() override;
  void StopCom() override { ClosePort(); }
  int32_t ReadData(void* buffer, uint32_t length, int32_t timeoutSeconds,
                   const std::atomic<bool>& stop) override;
  int32_t WriteData(const void* buffer, uint32_t length) override;
  void InterruptCom() override { socket_.Interrupt(); }

  // Finds a free port and listens on it. The port, also when none was free: GetListenPort tells.
  uint16_t OpenPort();
  void ClosePort();
  // 0 while nothing listens. Any thread may ask.
  uint16_t GetListenPort() const { return listenPort_; }

 private:
  static bool InitSockets() { return true; }

  bool CreateAnySocket();
  uint16_t FindFreePort();

  bool needsInit_ = true;
  SocketID socket_;
  std::atomic<uint16_t> listenPort_ = 0;
};
