// The link's sockets on a system without internet ones: local, in the abstract namespace.
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstddef>
#include <cstdio>
#include <string>

#include "parameterrondelcom.h"
#include "support/log_capture.h"

namespace test {
namespace {

using SocketID = ParameterRondelCom::SocketID;

constexpr uint16_t kFirstPort = 33127;
constexpr uint16_t kLastPort = kFirstPort + 64;

// A tool that knows the name alone: a NUL in front, digits in hexadecimal, a NUL behind.
int ConnectTo(uint16_t port) {
  char digits[5];
  std::snprintf(digits, sizeof(digits), "%04x", port);
  const std::string name = std::string("\0Rondel", 7) + digits + '\0';
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  name.copy(address.sun_path, name.size());
  const int tool = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size());
  if (connect(tool, reinterpret_cast<sockaddr*>(&address), length) == 0) return tool;
  close(tool);
  return -1;
}

// Takes the first free port; other programs may have some.
void ListenLocally(SocketID& server) {
  for (uint16_t port = kFirstPort; port <= kLastPort; ++port) {
    server.SetupAddresses(ParameterRondelCom::kLocal, port);
    if ((server.HasSocket() || server.CreateSocket()) && server.Listen()) return;
  }
  FAIL() << "no local port is free";
}

TEST(LinkAddress, HasTheNameOfItsPort) {
  ParameterRondelCom::SocketAddress address;
  address.SetupSocket(ParameterRondelCom::kInternet, 0x5A59);
  EXPECT_STREQ(address.portText, "0x5a59");
  EXPECT_EQ(address.address.internet.sin_family, AF_INET);
  EXPECT_EQ(address.address.internet.sin_port, htons(0x5A59));
  EXPECT_EQ(address.length, 16u);
  address.SetupSocket(ParameterRondelCom::kLocal, kFirstPort);
  EXPECT_STREQ(address.portText, "#Rondel8167");
  EXPECT_EQ(address.address.local.sun_family, AF_UNIX);
  const std::string name("\0Rondel8167\0", 12);
  EXPECT_EQ(std::string(address.address.local.sun_path, name.size()), name);
  EXPECT_EQ(address.length, offsetof(sockaddr_un, sun_path) + name.size());
}

// Two servers have two names; each gets the bytes that are meant for it and answers them, to one
// tool after the other.
TEST(LinkLocalSocket, PassesBytesBothWays) {
  LogCapture log;
  SocketID servers[] = {SocketID(nullptr), SocketID(nullptr)};
  for (SocketID& server : servers) ASSERT_NO_FATAL_FAILURE(ListenLocally(server));
  EXPECT_LT(servers[0].GetPort(), servers[1].GetPort());
  EXPECT_EQ(servers[0].WriteData("nobody", 6), -1);
  for (int round = 0; round < 4; ++round) {
    SocketID& server = servers[round % 2];
    const int tool = ConnectTo(server.GetPort());
    ASSERT_GE(tool, 0);
    const std::string request = "request " + std::to_string(round);
    ASSERT_EQ(send(tool, request.data(), request.size(), MSG_NOSIGNAL), ssize_t(request.size()));
    std::atomic<bool> stop = false;
    char bytes[64] = {};
    ASSERT_EQ(server.ReadData(bytes, sizeof(bytes), 20, stop), int32_t(request.size()));
    EXPECT_EQ(bytes, request);
    EXPECT_EQ(server.ReadData(bytes, sizeof(bytes), 0, stop), 0);
    stop = true;
    EXPECT_EQ(server.ReadData(bytes, sizeof(bytes), -1, stop), 0);
    ASSERT_EQ(server.WriteData("reply", 5), 5);
    ASSERT_EQ(recv(tool, bytes, sizeof(bytes), 0), 5);
    EXPECT_EQ(std::string(bytes, 5), "reply");
    close(tool);
    stop = false;
    EXPECT_EQ(server.ReadData(bytes, sizeof(bytes), 20, stop), -1);
  }
  const uint16_t port = servers[0].GetPort();
  servers[0].CloseSocket();
  EXPECT_EQ(ConnectTo(port), -1);
}

}  // namespace
}  // namespace test
