// The sockets of the live link.
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>

#include "parameterrondelcom.h"

namespace {

constexpr int kBacklog = 5;
constexpr int kPollMilliseconds = 100;

// An option that only makes the link better: one that can't be had is no failure.
void SwitchOn(int socket, int level, int option) {
  constexpr int kOn = 1;
  setsockopt(socket, level, option, &kOn, sizeof(kOn));
}

}  // namespace

ParameterRondelCom::SocketID::SocketID(const IParameterLoggingAPI* logger)
    : logger_(logger), wakeUp_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

ParameterRondelCom::SocketID::~SocketID() {
  CloseSocket();
  if (wakeUp_ != kClosed) close(wakeUp_);
}

void ParameterRondelCom::SocketID::LogDebug(const char* text, int result) const {
  PARAMETER_DEBUG(logger_, "%s, Socket: %d, Port: %s: Result: %d, errno: %d\n", text, listenSocket_,
                  localAddress_.portText, result, errno);
}

void ParameterRondelCom::SocketID::LogError(const char* text, int result) const {
  PARAMETER_ERROR(logger_, "%s, Socket: %d, Port: %s: Result: %d, errno: %d\n", text, listenSocket_,
                  localAddress_.portText, result, errno);
}

// ---- The listen socket

void ParameterRondelCom::SocketID::SetupAddresses(AddrType type, uint16_t port) {
  localAddress_.SetupSocket(type, port);
  remoteAddress_.SetupSocket(type, port);
}

// Not blocking, so that a tool that goes between poll and accept doesn't hold up the read thread.
bool ParameterRondelCom::SocketID::CreateSocket() {
  const int family = localAddress_.type == kInternet ? AF_INET : AF_UNIX;
  listenSocket_ = socket(family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  if (listenSocket_ == kClosed) return false;
  // A camera that is started again gets its port back at once, although its last connection may
  // not have died away. Two servers can't listen on one port all the same.
  SwitchOn(listenSocket_, SOL_SOCKET, SO_REUSEADDR);
  return true;
}

bool ParameterRondelCom::SocketID::Listen() {
  if (bind(listenSocket_, &localAddress_.address.any, localAddress_.length) != 0) return false;
  if (listen(listenSocket_, kBacklog) == 0) return true;
  // Another server bound the port at the same moment and was the first to listen. A bound socket
  // can't be bound again.
  const int error = errno;
  close(listenSocket_);
  CreateSocket();
  errno = error;
  return false;
}

void ParameterRondelCom::SocketID::CloseSocket() {
  CloseConnection();
  if (listenSocket_ != kClosed) close(listenSocket_);
  listenSocket_ = kClosed;
  localAddress_ = {};
  remoteAddress_ = {};
}

// ---- The data connection

void ParameterRondelCom::SocketID::Accept() {
  remoteAddress_.length = sizeof(remoteAddress_.address);
  const int accepted =
      accept4(listenSocket_, &remoteAddress_.address.any, &remoteAddress_.length, SOCK_CLOEXEC);
  if (accepted == kClosed) {
    // It is gone, or there are no descriptors left: then the connection stays pending, and this
    // must not be tried without a pause.
    WaitForInput(kClosed);
    return;
  }
  // A reply goes out at once instead of waiting for the next one.
  if (localAddress_.type == kInternet) SwitchOn(accepted, IPPROTO_TCP, TCP_NODELAY);
  PARAMETER_DEBUG(logger_, "Rondel accepted data connection on port %s\n", localAddress_.portText);
  const std::lock_guard lock(mutex_);
  connection_ = accepted;
  if (isInterrupted_) shutdown(connection_, SHUT_RDWR);
}

// A send to a tool that doesn't read ends with the shutdown.
void ParameterRondelCom::SocketID::CloseConnection() {
  std::unique_lock lock(mutex_);
  if (connection_ == kClosed) return;
  shutdown(connection_, SHUT_RDWR);
  sent_.wait(lock, [this] { return !isSending_; });
  close(connection_);
  connection_ = kClosed;
}

void ParameterRondelCom::SocketID::Interrupt() {
  const std::lock_guard lock(mutex_);
  isInterrupted_ = true;
  if (wakeUp_ != kClosed) eventfd_write(wakeUp_, 1);
  if (connection_ != kClosed) shutdown(connection_, SHUT_RDWR);
}

void ParameterRondelCom::SocketID::Resume() {
  const std::lock_guard lock(mutex_);
  isInterrupted_ = false;
  eventfd_t ignored = 0;
  if (wakeUp_ != kClosed) eventfd_read(wakeUp_, &ignored);
}

// True if there is something to read or accept, or the other side has gone. A closed socket only
// waits.
bool ParameterRondelCom::SocketID::WaitForInput(int socket) const {
  pollfd waited[] = {{socket, POLLIN, 0}, {wakeUp_, POLLIN, 0}};
  return poll(waited, 2, kPollMilliseconds) > 0 && waited[0].revents != 0;
}

// Only the thread that calls this changes the data connection.
int32_t ParameterRondelCom::SocketID::ReadData(void* buffer, uint32_t length,
                                               int32_t timeoutSeconds,
                                               const std::atomic<bool>& stop) {
  using Clock = std::chrono::steady_clock;
  const auto start = Clock::now();
  for (;;) {
    if (connection_ == kClosed) {
      if (WaitForInput(listenSocket_)) Accept();
    } else if (WaitForInput(connection_)) {
      const ssize_t received = recv(connection_, buffer, length, 0);
      if (received > 0) return static_cast<int32_t>(received);
      if (received == 0 || errno != EINTR) {
        PARAMETER_DEBUG(logger_, "Rondel client disconnected.  Resetting socket\n");
        CloseConnection();
        return -1;
      }
    }
    if (stop) return 0;
    if (timeoutSeconds >= 0 && Clock::now() - start >= std::chrono::seconds(timeoutSeconds))
      return 0;
  }
}

// One send, which isn't repeated: it blocks until the tool has taken all or is gone.
int32_t ParameterRondelCom::SocketID::WriteData(const void* buffer, uint32_t length) {
  int connection = kClosed;
  {
    const std::lock_guard lock(mutex_);
    connection = connection_;
    isSending_ = connection != kClosed;
  }
  const auto sent = static_cast<int32_t>(send(connection, buffer, length, 0));
  {
    const std::lock_guard lock(mutex_);
    isSending_ = false;
  }
  sent_.notify_all();
  return sent;
}
