// A tool sets, reads and lists while the camera's threads get, set and reload.
#include <atomic>

#include "link_fixture.h"

namespace test {
namespace {

class LinkThreads : public Link {
 protected:
  void until(const std::function<void(uint32_t)>& step) {
    uint32_t i = 0;
    while (!stop_) step(++i);
    EXPECT_GT(i, 3u);
  }
  std::atomic<bool> stop_ = false;
};

// Nobody reads values through a record's pointer here: the link writes them in place and no lock
// guards such a reader.
TEST_F(LinkThreads, SetReloadAndRead) {
  manager->SetLogLevels(true, false, false);
  const std::string skip = "0|2.2:tessarinePDLib.skipControl";
  std::vector<std::jthread> threads;
  threads.emplace_back([&] {
    LinkClient client(port());
    until([&](uint32_t id) {
      const std::string value = "maxFrameRate=" + std::to_string(id % 100);
      // Another thread may set it, or reload, before it is read back.
      ASSERT_EQ(client.ask(TextFrame(6, id, skip + ":" + value)).find("maxFrameRate="), kHeader);
      const std::string reply = client.ask(TextFrame(5, id, skip));
      ASSERT_EQ(reply.find("staticFrameCountThres=20;maxFrameRate="), kHeader);
      client.ask(TextFrame(4, id, skip));
      client.ask(TextFrame(3, id, "0"));
      client.ask(ShortFrame(static_cast<uint16_t>(id % 3)));
    });
  });
  threads.emplace_back([&] {
    until([&](uint32_t i) {
      WriteFile(path(), ReadableFile("tag " + std::to_string(i)));
      ASSERT_TRUE(manager->ReloadBinaryParameters(false));
    });
  });
  threads.emplace_back([&] {
    until([&](uint32_t i) {
      ASSERT_TRUE(manager->SetValue("Default|Usecase.Video", "tessarinePDLib.skipControl",
                                    "maxFrameRate", std::to_string(i % 100).c_str()));
      manager->SetControlValue({i % 7, static_cast<int>(i)});
    });
  });
  threads.emplace_back([&] {
    char text[256];
    tessarinePDLibType* record = nullptr;
    until([&](uint32_t i) {
      record = get({{0, 0}, {2, static_cast<uint16_t>(i % 2 * 2)}}, record);
      ASSERT_NE(record, nullptr);
      ASSERT_TRUE(manager->GetValue("0|2.2", "tessarinePDLib.skipControl", "staticFrameCountThres",
                                    text, sizeof(text)));
      ASSERT_STREQ(text, "staticFrameCountThres=20");
      manager->GetActiveModes(text, sizeof(text));
      if (i % 100 == 0) Orvo::Host::StartLogCapture();
    });
    record->Release();
  });
  std::this_thread::sleep_for(Milliseconds(1500));
  stop_ = true;
  threads.clear();
  WriteFile(path(), ReadableFile());
  ASSERT_TRUE(manager->ReloadBinaryParameters(false));
  expectAlive();
}

}  // namespace
}  // namespace test
