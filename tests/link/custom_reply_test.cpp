// What a tool gets where a handler claims more bytes than it wrote.
#include <arpa/inet.h>
#include <unistd.h>

#include "parametercustomhandler.h"
#include "params/tuning_fixture.h"

namespace test {
namespace {

// Writes its payload, and claims what it was told to.
struct Claiming : IParameterCustomHandler {
  uint32_t Process(const uint8_t* payload, uint32_t length, uint32_t, uint8_t* reply,
                   uint16_t* replyLength) override {
    std::copy_n(payload, length, reply);
    *replyLength = claimed;
    return 0;
  }
  uint16_t claimed = 0;
};

// The data of the reply to a custom request, of which `count` bytes must come.
std::string Ask(uint16_t port, const std::string& payload, size_t count) {
  std::string frame("\x59\x5A\x08\0__\1\0\0\0", 10);
  frame += payload;
  frame[4] = static_cast<char>(frame.size());
  frame[5] = static_cast<char>(frame.size() >> 8);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  const int tool = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  std::string reply(12 + count, '?');
  ssize_t received = 0;
  if (connect(tool, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0 &&
      send(tool, frame.data(), frame.size(), MSG_NOSIGNAL) == ssize_t(frame.size()))
    received = recv(tool, reply.data(), reply.size(), MSG_WAITALL);
  close(tool);
  return received == ssize_t(reply.size()) ? reply.substr(12) : "no reply";
}

using LinkCustomReply = Tuning;

TEST_F(LinkCustomReply, HoldsNothingOfEarlierOnes) {
  TuningFile file;
  file.modes = {{0, 0, 0, 0}};
  AddPd(file, PdSource(1), 0);
  ASSERT_TRUE(load(file.build(), false));
  if (manager->GetLinkPort() == 0) GTEST_SKIP() << "built without the link";
  Claiming handler;
  manager->SetCustomHandler(&handler);
  constexpr size_t kMost = 65535 - 12;
  for (const size_t written : {size_t{60000}, size_t{2}, size_t{1}}) {
    for (const size_t claimed : {size_t{8}, kMost}) {
      handler.claimed = static_cast<uint16_t>(claimed);
      const std::string payload(written, 'x');
      std::string expected = payload;
      expected.resize(claimed, '\0');
      EXPECT_TRUE(Ask(manager->GetLinkPort(), payload, claimed) == expected)
          << written << " bytes written, " << claimed << " claimed";
    }
  }
  manager->SetCustomHandler(nullptr);
}

}  // namespace
}  // namespace test
