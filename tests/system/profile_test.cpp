// The profile block of a camera, seen in the log.
#include "plugin.h"

using test::Camera;
using test::Plugin;

namespace {

class ProfileSession : public Plugin {
 protected:
  ProfileSession() {
    camera_.createParams.initParam.profileFlags = 1u << 5;
    enter();
    Orvo::Host::SetClock(5'000'000'000, 1'000'000);  // a millisecond per look
  }
  static int64_t summaries() {
    const auto texts = logTexts();
    return std::count_if(texts.begin(), texts.end(), [](const std::string& text) {
      return text.find("Profile PDLIB Summary(ms) Start") != std::string::npos;
    });
  }
  int processFrame(VekPDLib* lib) { return process(lib, camera_); }
  Camera camera_{2};
};

TEST_F(ProfileSession, ListsModulesAndSumsUpInitAndFrames) {
  VekPDLib* lib = start(camera_);
  const std::string prefix = "CID:2 Profile Module";
  EXPECT_EQ(logTexts(),
            (std::vector<std::string>{
                "CID:2 Profile PDLIB module enabled:", prefix + " PDLIB Sub:PDLIBProfileInit",
                prefix + " PDLIB Sub:PDLIBProfilePhaseDetect",
                prefix + " PDLIB Sub:PDLIBProfileLrCenterWindow",
                prefix + " PDLIB Sub:PDLIBProfileLcrCenterWindow",
                prefix + " PDLIB Sub:PDLIBProfilePeripheralWindow",
                "===== CID:2 Profile PDLIB Summary(ms) Start, Frame:00001 ======",
                prefix + ": PDLIBProfileInit = 1.000", prefix + ": PDLIBProfilePhaseDetect = 0.000",
                prefix + ": PDLIBProfileLrCenterWindow = 0.000",
                prefix + ": PDLIBProfileLcrCenterWindow = 0.000",
                prefix + ": PDLIBProfilePeripheralWindow = 0.000",
                "========== CID:2 Profile Profiling Summary End ============="}));
  Orvo::Host::StartLogCapture();
  ASSERT_EQ(processFrame(lib), kPDLibSuccess);
  EXPECT_EQ(summaries(), 1);
  EXPECT_TRUE(wasLogged("===== CID:2 Profile PDLIB Summary(ms) Start, Frame:00002 ======"));
  EXPECT_TRUE(wasLogged(prefix + ": PDLIBProfileInit = 0.000"));
  EXPECT_FALSE(wasLogged(prefix + ": PDLIBProfilePhaseDetect = 0.000"));
  EXPECT_FALSE(wasLogged(prefix + ": PDLIBProfileLrCenterWindow = 0.000"));
  close(2);
}

// The count falls to 0 while the instance lives on. Another session's frame may be writing into the
// block at that moment, so that it goes with the instance only.
TEST_F(ProfileSession, EndsWithTheFirstCloseAndIsFreedWithTheLast) {
  const uint64_t before = Orvo::Host::Allocations().live;
  VekPDLib* lib = start(camera_);
  ASSERT_EQ(open(2), lib);
  EXPECT_EQ(processFrame(lib), kPDLibSuccess);
  EXPECT_EQ(summaries(), 2);  // of initialisation and frame
  const uint64_t running = Orvo::Host::Allocations().live;
  close(2);
  EXPECT_EQ(Orvo::Host::Allocations().live, running);
  EXPECT_EQ(processFrame(lib), kPDLibSuccess);
  EXPECT_EQ(summaries(), 2);
  close(2);
  EXPECT_EQ(Orvo::Host::Allocations().live, before);
}

TEST_F(ProfileSession, BelongsToOneCamera) {
  VekPDLib* lib = start(camera_);
  const Camera other(3);
  VekPDLib* otherLib = start(other);
  EXPECT_EQ(process(otherLib, other), kPDLibSuccess);
  EXPECT_EQ(summaries(), 1);
  EXPECT_EQ(processFrame(lib), kPDLibSuccess);
  EXPECT_EQ(summaries(), 2);
  close(3);
  EXPECT_EQ(processFrame(lib), kPDLibSuccess);
  EXPECT_EQ(summaries(), 3);
  close(2);
}

TEST_F(ProfileSession, IsDisabledForACameraThatTheFlagsDoNotMean) {
  camera_.createParams.initParam.profileFlags |= 1u << 24 | 3u << 25;
  VekPDLib* lib = start(camera_);
  EXPECT_TRUE(wasLogged("CID:2 Profile PDLIB module enabled:"));
  EXPECT_EQ(processFrame(lib), kPDLibSuccess);
  EXPECT_EQ(summaries(), 0);
  close(2);
}

TEST_F(ProfileSession, MissingMemoryCostsOnlyTheProfile) {
  VekPDLib* lib = open(2);
  // The last allocation of an initialisation is the block: find its place by counting.
  camera_.createParams.initParam.profileFlags = 0;
  const uint64_t before = Orvo::Host::Allocations().allocations;
  ASSERT_EQ(lib->pfnInitialize(lib, &camera_.createParams), kPDLibSuccess);
  const auto place = static_cast<int64_t>(Orvo::Host::Allocations().allocations - before);
  lib->pfnDestroy(lib, test::ParamList::Close(2).get());

  camera_.createParams.initParam.profileFlags = 1u << 5;
  lib = open(2);
  Orvo::Host::FailAllocation(place);
  EXPECT_EQ(lib->pfnInitialize(lib, &camera_.createParams), kPDLibSuccess);
  Orvo::Host::NeverFailAllocation();
  EXPECT_TRUE(wasLogged("out of memory for the profile block of camera 2"));
  EXPECT_EQ(processFrame(lib), kPDLibSuccess);
  EXPECT_EQ(summaries(), 0);
  close(2);
}

}  // namespace
