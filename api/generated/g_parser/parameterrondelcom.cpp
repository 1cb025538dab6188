#include "parameterrondelcom.h"

#include <arpa/inet.h>

#include <cstddef>
#include <cstdio>

#include "orvo/osutils.h"

namespace {

constexpr uint16_t kFirstPort = ParameterRondel::kStartTag;
constexpr uint16_t kInternalPort = 0x8167;
constexpr uint16_t kMorePorts = 64;  // tried behind the first

}  // namespace

bool ParameterRondelCom::UseInternalPort = false;

// The one place that tells the build's PDLIB_LIVE_LINK.
ParameterRondelCom::Reach ParameterRondelCom::GetReach() {
#if defined(PDLIB_LIVE_LINK_NONE)
  return Reach::kNone;
#elif defined(PDLIB_LIVE_LINK_LOOPBACK)
  return Reach::kLoopback;
#else
  return Reach::kAny;
#endif
}

void ParameterRondelCom::SocketAddress::SetupSocket(AddrType addrType, uint16_t portNumber) {
  *this = {};
  type = addrType;
  port = portNumber;
  if (type == kInternet) {
    const bool loopback = GetReach() == Reach::kLoopback;
    address.internet = {};
    address.internet.sin_family = AF_INET;
    address.internet.sin_port = htons(port);
    address.internet.sin_addr.s_addr = htonl(loopback ? INADDR_LOOPBACK : INADDR_ANY);
    length = sizeof(sockaddr_in);
    std::snprintf(portText, sizeof(portText), "0x%x", port);
    return;
  }
  std::snprintf(portText, sizeof(portText), "#Rondel%x", port);
  address.local = {};
  address.local.sun_family = AF_UNIX;
  const size_t named =
      Orvo::OsUtils::StrLCpy(address.local.sun_path, portText, sizeof(address.local.sun_path));
  address.local.sun_path[0] = '\0';
  // The family, the name, and the NUL behind it, which is part of a name of this kind.
  length = static_cast<uint32_t>(offsetof(sockaddr_un, sun_path) + named + 1);
}

// ---- The server

ParameterRondelCom::ParameterRondelCom(const IParameterLoggingAPI* logger)
    : ParameterRondelComBase(logger), socket_(logger) {}

bool ParameterRondelCom::StartCom() {
  if (needsInit_) needsInit_ = !InitSockets();
  socket_.Resume();
  OpenPort();
  return socket_.HasSocket();
}

uint16_t ParameterRondelCom::OpenPort() {
  if (socket_.HasSocket()) return socket_.GetPort();
  const uint16_t port = CreateAnySocket() ? FindFreePort() : socket_.GetPort();
  listenPort_ = socket_.HasSocket() ? port : uint16_t{0};
  return port;
}

// A system without internet sockets still has local ones.
bool ParameterRondelCom::CreateAnySocket() {
  socket_.SetupAddresses(kInternet, UseInternalPort ? kInternalPort : kFirstPort);
  if (socket_.CreateSocket()) {
    socket_.LogDebug("Rondel Server INET socket created", 0);
    return true;
  }
  socket_.LogError("Rondel Server INET socket create failed", -1);
  if (!UseInternalPort) {
    socket_.SetupAddresses(kLocal, kInternalPort);
    if (socket_.CreateSocket()) {
      socket_.LogDebug("Rondel Server UNIX socket created", 0);
      return true;
    }
    socket_.LogError("Rondel Server UNIX socket create failed", -1);
  }
  socket_.LogError("Rondel Server socket create failed", -1);
  return false;
}

// A port in use is nothing to complain of: another camera's manager has it.
uint16_t ParameterRondelCom::FindFreePort() {
  const AddrType type = socket_.GetType();
  const uint16_t first = socket_.GetPort();
  for (uint16_t port = first; port <= first + kMorePorts && socket_.HasSocket(); ++port) {
    socket_.SetupAddresses(type, port);
    if (socket_.Listen()) {
      socket_.LogDebug("Rondel Server bound", 0);
      return port;
    }
    socket_.LogDebug("Rondel Server bind failed", -1);
  }
  PARAMETER_ERROR(GetLogger(), "Rondel Failed to bind any ports\n");
  socket_.CloseSocket();
  return static_cast<uint16_t>(first + kMorePorts);
}

void ParameterRondelCom::ClosePort() {
  listenPort_ = 0;
  socket_.CloseSocket();
}

int32_t ParameterRondelCom::ReadData(void* buffer, uint32_t length, int32_t timeoutSeconds,
                                     const std::atomic<bool>& stop) {
  return socket_.ReadData(buffer, length, timeoutSeconds, stop);
}

int32_t ParameterRondelCom::WriteData(const void* buffer, uint32_t length) {
  return socket_.WriteData(buffer, length);
}
