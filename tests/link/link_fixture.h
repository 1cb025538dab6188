// A camera with a live link, and the tuning file that the tests of the link can tell by heart.
#pragma once

#include <functional>
#include <thread>

#include "link_client.h"
#include "parametercustomhandler.h"
#include "params/tuning_fixture.h"

namespace test {

// Default           tessarinePDLib, abf34_ife
//   Sensor.3
//   Usecase.Video   tessarinePDLib, with a box filter of 2 instead of 4
//     Scene.Night
//
// What the tests look at has the values below.
inline Bytes ReadableFile(const std::string& tag = "lab camera") {
  TuningFile file;
  file.tag = tag;
  file.modes = {{0, 0, 0, 0}, {1, 1, 3, 0}, {2, 2, 2, 0}, {3, 5, 5, 2}};
  static char revision[] = "lab 7";
  static char name[] = "gain";
  for (const uint32_t mode : {0u, 2u}) {
    PdSource source(2);
    tessarinePDLibType& record = source.record();
    record.parameter_version.revision = revision;
    record.preProcess.HDR = {static_cast<afpdlibelements::tessarineHDRChannelSelection>(2), 500};
    record.preProcess.boxFilterLength = mode == 0 ? 4 : 2;
    record.skipControl = {20, 15};
    record.correlation.minimumConfidenceLevel = 140.5f;
    record.extensionParam[0].ID = -12;
    record.extensionParam[0].Name = name;
    record.extensionParam[0].enableFlag = 1;
    record.extensionParam[0].data[0] = 0.5f;
    record.extensionParam[0].data[1] = -2;
    AddPd(file, source, mode);
  }
  file.modules.push_back({"abf34_ife", {1, 0, 0}, 0, {1, 2, 3, 4}});
  return file.build();
}

// Of the replies to command 0: `1`, the manager's number, its tag.
inline std::string DeviceInfo(const void* manager, const std::string& tag = "lab camera") {
  const auto number = static_cast<uint64_t>(reinterpret_cast<uintptr_t>(manager));
  return ShortTextFrame(0, LittleEndian(2, 1) + LittleEndian(8, number) + tag);
}

// Usually it takes a few milliseconds.
inline void ExpectQuick(const std::function<void()>& action) {
  const auto start = std::chrono::steady_clock::now();
  action();
  EXPECT_LT(std::chrono::steady_clock::now() - start, Milliseconds(2000));
}

// Waits until it is so; false if that takes too long.
inline bool WaitFor(const std::function<bool()>& isSo) {
  for (int i = 0; i < 5000 && !isSo(); ++i) std::this_thread::sleep_for(Milliseconds(1));
  return isSo();
}

class Link : public Tuning {
 protected:
  void SetUp() override {
    ASSERT_TRUE(load(ReadableFile(), true)) << error();
    if (port() == 0) GTEST_SKIP() << "built without the link";
  }
  uint16_t port() const { return manager->GetLinkPort(); }
  // The link serves a new client, which may first get what one before it didn't wait for.
  void expectAlive() {
    LinkClient client(port());
    ASSERT_TRUE(client.connected());
    ASSERT_TRUE(client.send(TextFrame(5, 0xA11FE, "0:tessarinePDLib.skipControl:maxFrameRate")));
    std::string reply;
    do reply = client.receive();
    while (!reply.empty() && reply != TextFrame(5, 0xA11FE, "maxFrameRate=15"));
    EXPECT_NE(reply, "");
  }
  bool loadAgain() {
    const Bytes file = ReadableFile();
    return manager->LoadBinaryParameters(file.data(), file.size());
  }
};

}  // namespace test
