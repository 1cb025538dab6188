// Where the live link listens. Programs that are not ours may hold some of the ports; other tests
// don't run beside these.
#include <list>

#include "link_fixture.h"
#include "parameterrondelcom.h"
#include "scripted_com.h"

namespace test {
namespace {

constexpr uint16_t kFirstPort = 23129;
constexpr uint16_t kLastPort = kFirstPort + 64;

// Listens on a port, if it is free.
struct Listener {
  explicit Listener(uint16_t port) : socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    // Also where connections of an earlier server have not died away.
    constexpr int kOn = 1;
    setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &kOn, sizeof(kOn));
    bind(socket, reinterpret_cast<sockaddr*>(&address), sizeof(address));
    listen(socket, 1);
  }
  ~Listener() { close(socket); }
  Listener(const Listener&) = delete;
  Listener& operator=(const Listener&) = delete;
  int socket;
};

using LinkPorts = Link;

TEST_F(LinkPorts, TheFirstFreeOneIsTaken) {
  manager.reset();
  std::list<Listener> taken;
  uint16_t last = 0;
  for (int i = 0; i < 3; ++i) {
    ASSERT_TRUE(load(ReadableFile(), false));
    EXPECT_GT(port(), last);
    EXPECT_GE(port(), kFirstPort);
    EXPECT_LE(port(), kLastPort);
    last = port();
    expectAlive();
    manager.reset();
    taken.emplace_back(last);
  }
  taken.clear();
  ASSERT_TRUE(load(ReadableFile(), false));
  EXPECT_LT(port(), last);
}

// Also at once after connections that the link itself has ended.
TEST_F(LinkPorts, IsFreeAgainAfterAStop) {
  const uint16_t before = port();
  for (int i = 0; i < 20; ++i) {
    LinkClient client(port());
    EXPECT_EQ(client.ask(ShortFrame(0)), DeviceInfo(manager.get()));
    ASSERT_TRUE(load(ReadableFile(), false));
    EXPECT_EQ(port(), before);
  }
}

TEST_F(LinkPorts, WithoutAFreeOneThereIsNoLink) {
  manager.reset();
  std::list<Listener> taken;
  for (uint16_t port = kFirstPort; port <= kLastPort; ++port) taken.emplace_back(port);
  expectQuick([&] { ASSERT_TRUE(load(ReadableFile(), false)); });
  EXPECT_EQ(port(), 0);
  EXPECT_TRUE(logged("Rondel Failed to bind any ports"));
  EXPECT_NE(get({{0, 0}}), nullptr);
  expectQuick([&] { manager->StopLink(); });

  // The last of them will do, once the link is started again.
  taken.pop_back();
  manager->FreeBinaryParameters();
  const Bytes file = ReadableFile();
  ASSERT_TRUE(manager->LoadBinaryParameters(file.data(), file.size()));
  EXPECT_EQ(port(), kLastPort);
  expectAlive();
  taken.clear();
}

TEST_F(LinkPorts, TheInternalPortIsAnotherOne) {
  manager.reset();
  ParameterRondelCom::UseInternalPort = true;
  ASSERT_TRUE(load(ReadableFile(), false));
  ParameterRondelCom::UseInternalPort = false;
  EXPECT_GE(port(), 33127);
  EXPECT_LE(port(), 33127 + 64);
  expectAlive();
}

TEST(LinkAddress, OfBothKinds) {
  ParameterRondelCom::SocketAddress address;
  address.SetupSocket(ParameterRondelCom::kInternet, 0x5A59);
  EXPECT_EQ(address.length, 16u);
  EXPECT_EQ(address.address.internet.sin_family, AF_INET);
  EXPECT_EQ(address.address.internet.sin_port, htons(0x5A59));
  EXPECT_STREQ(address.portText, "0x5a59");
  address.SetupSocket(ParameterRondelCom::kLocal, 0x8167);
  EXPECT_EQ(address.length, std::string("#Rondel8167").size() + 3);
  EXPECT_EQ(address.address.local.sun_family, AF_UNIX);
  EXPECT_EQ(std::string(address.address.local.sun_path, 12), std::string("\0Rondel8167\0", 12));
  EXPECT_STREQ(address.portText, "#Rondel8167");
}

// Where there are no internet sockets. The NUL behind the name belongs to it.
TEST(LinkAddress, ALocalServerTalks) {
  const LinkLogger logger;
  ParameterRondelCom::SocketID server(&logger);
  const uint16_t port = static_cast<uint16_t>(20000 + getpid() % 10000);
  server.SetupAddresses(ParameterRondelCom::kLocal, port);
  ASSERT_TRUE(server.CreateSocket() && server.Listen());

  ParameterRondelCom::SocketAddress address;
  address.SetupSocket(ParameterRondelCom::kLocal, port);
  const int client = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  ASSERT_EQ(connect(client, &address.address.any, address.length), 0);
  char bytes[16] = "ping";
  std::atomic<bool> stop = false;
  EXPECT_EQ(server.WriteData("nobody", 6), -1);
  EXPECT_EQ(send(client, bytes, 5, 0), 5);
  EXPECT_EQ(server.ReadData(bytes, sizeof(bytes), 5, stop), 5);
  EXPECT_STREQ(bytes, "ping");
  EXPECT_EQ(server.ReadData(bytes, sizeof(bytes), 0, stop), 0);
  stop = true;
  EXPECT_EQ(server.ReadData(bytes, sizeof(bytes), -1, stop), 0);
  EXPECT_EQ(server.WriteData("pong", 5), 5);
  EXPECT_EQ(recv(client, bytes, sizeof(bytes), 0), 5);
  EXPECT_STREQ(bytes, "pong");
  close(client);
  EXPECT_EQ(server.ReadData(bytes, sizeof(bytes), 5, stop), -1);
}

}  // namespace
}  // namespace test
