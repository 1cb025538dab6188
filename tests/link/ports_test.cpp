// Where the live link listens. Programs that are not ours may hold some of the ports; other tests
// don't run beside these.
#include <list>

#include "link_fixture.h"
#include "parameterrondelcom.h"

namespace test {
namespace {

constexpr uint16_t kFirstPort = 23129;
constexpr uint16_t kLastPort = kFirstPort + 64;

// Listens on a port, if it is free.
struct Listener {
  explicit Listener(uint16_t port) : socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    Loopback address(port);
    // Also where connections of an earlier server have not died away.
    constexpr int kOn = 1;
    setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &kOn, sizeof(kOn));
    bind(socket, address.any(), sizeof(address));
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
  ExpectQuick([&] { ASSERT_TRUE(load(ReadableFile(), false)); });
  EXPECT_EQ(port(), 0);
  EXPECT_TRUE(logged("Rondel Failed to bind any ports"));
  EXPECT_NE(get({{0, 0}}), nullptr);
  ExpectQuick([&] { manager->StopLink(); });

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

}  // namespace
}  // namespace test
