// Sessions of a camera: sharing, frames, files, several cameras.
#include <fstream>
#include <iterator>
#include <latch>
#include <thread>

#include "driver/pdlib_hw_config.h"
#include "plugin.h"

using test::Camera;
using test::ParamList;
using test::Plugin;

namespace {

using Session = Plugin;

TEST_F(Session, IsSharedByCountUntilTheLastClose) {
  VekPDLib* first = open(3);
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(first->instanceCount, 1u);
  EXPECT_EQ(first->pPrivate, nullptr);
  EXPECT_EQ(open(3), first);
  EXPECT_EQ(first->instanceCount, 2u);
  VekPDLib* other = open(4);
  EXPECT_NE(other, first);
  close(3);
  EXPECT_EQ(first->instanceCount, 1u);
  EXPECT_EQ(Orvo::Host::Allocations().live, liveBefore_ + 2);
  close(3);
  EXPECT_EQ(Orvo::Host::Allocations().live, liveBefore_ + 1);
  close(3);  // nothing is left to close
  EXPECT_TRUE(wasLogged("g_pPDLibData[3] is NULL"));
  close(4);
}

struct CloseCase {
  const char* what;
  ParamList list;
};

TEST_F(Session, OnlyAnActualCloseFreesTheObject) {
  VekPDLib* lib = open(2);
  CloseCase counted[] = {
      {"no override", ParamList().addCamera(1, 2)},
      {"short override", ParamList().addCamera(1, 2).addOverride(0, 1, 3)},
      {"override 0", ParamList::Close(2, 0)},
      {"override 2", ParamList::Close(2, 2)},
  };
  for (CloseCase& c : counted) {
    open(2);
    EXPECT_EQ(lib->pfnDestroy(lib, c.list.get()), kPDLibSuccess) << c.what;
    EXPECT_EQ(lib->instanceCount, 1u) << c.what;
  }
  CloseCase ignored[] = {
      {"empty", ParamList()},
      {"no camera", ParamList().addOverride(0, 1)},
      {"camera 8", ParamList::Close(8)},
      {"camera of all ones", ParamList::Close(0xffffffffu)},
      {"another camera", ParamList::Close(5)},
  };
  for (CloseCase& c : ignored) {
    EXPECT_EQ(lib->pfnDestroy(lib, c.list.get()), kPDLibSuccess) << c.what;
    EXPECT_EQ(lib->instanceCount, 1u) << c.what;
  }
  EXPECT_EQ(lib->pfnDestroy(lib, nullptr), kPDLibSuccess);
  // A count of 0 without an actual close keeps the object, and can't fall below.
  for (int i = 0; i < 2; ++i) lib->pfnDestroy(lib, counted[0].list.get());
  EXPECT_EQ(lib->instanceCount, 0u);
  EXPECT_EQ(Orvo::Host::Allocations().live, liveBefore_ + 1);
  EXPECT_EQ(lib->pfnDestroy(nullptr, ParamList::Close(2).get()), kPDLibSuccess);
}

TEST_F(Session, MeasuresAFrame) {
  const Camera camera(0);
  VekPDLib* lib = start(camera);
  ASSERT_NE(lib, nullptr);
  EXPECT_EQ(lib->pfnConfigure(lib, nullptr), kPDLibSuccess);
  ASSERT_EQ(process(lib, camera), kPDLibSuccess);
  EXPECT_EQ(output_.processingResult, 1u);
  EXPECT_EQ(output_.horizontalWindowCount, 2u);
  EXPECT_EQ(output_.verticalWindowCount, 2u);
  for (int i = 0; i < 4; ++i) {
    EXPECT_NEAR(output_.defocusInfo[i].phaseDiff, 0.0f, 1.0f) << i;  // a sample is four pixels
    EXPECT_GT(output_.defocusInfo[i].confidence, 500u) << i;
  }
  close(0);
}

TEST_F(Session, VerboseLogTellsAFrameInOrder) {
  Camera camera(0);
  camera.createParams.initParam.logLevel = 2;
  VekPDLib* lib = start(camera);
  ASSERT_NE(lib, nullptr);
  Orvo::Host::StartLogCapture();
  ASSERT_EQ(process(lib, camera, 1, 1), kPDLibSuccess);
  const char* const expected[] = {
      "window configure: type: 0, size: [1, 1], coord: [0.25 0.25 0.75 0.75]",
      "Dump Flag is 0",
      "frame_idx: 0, phaseDiff ",
      "Multi-Window result",
      "multi-window id 0, phaseDiff: ",
      "PDAF log buffer ",
  };
  size_t next = 0;
  for (const std::string& text : logTexts()) {
    if (next < std::size(expected) && text.starts_with(expected[next])) ++next;
  }
  EXPECT_EQ(next, std::size(expected));
  close(0);
}

TEST_F(Session, RefusesBadArguments) {
  VekPDLib* lib = open(0);
  Camera camera(0);
  PDLibInputs inputs = camera.inputs();
  EXPECT_EQ(lib->pfnInitialize(nullptr, &camera.createParams), kPDLibInvalidPointer);
  EXPECT_EQ(lib->pfnInitialize(lib, nullptr), kPDLibInvalidPointer);
  EXPECT_EQ(lib->pfnProcess(nullptr, &inputs, &output_), kPDLibInvalidPointer);
  EXPECT_EQ(lib->pfnProcess(lib, nullptr, &output_), kPDLibInvalidPointer);
  EXPECT_EQ(lib->pfnProcess(lib, &inputs, nullptr), kPDLibInvalidPointer);
  EXPECT_EQ(lib->pfnProcess(lib, &inputs, &output_), kPDLibFailed);  // not initialised

  camera.createParams.initParam.tuningData = nullptr;
  EXPECT_EQ(lib->pfnInitialize(lib, &camera.createParams), kPDLibFailed);
  EXPECT_EQ(lib->pPrivate, nullptr);
  EXPECT_EQ(logTexts().back(), "PDLib tuning is not being provided.");
  close(0);
}

TEST_F(Session, ACameraIdBeyondTheTablesIsServedWithoutThem) {
  VekPDLib* lib = open(0);
  Camera camera(0xffffffffu);
  camera.createParams.initParam.profileFlags = 1u << 5;
  EXPECT_EQ(lib->pfnInitialize(lib, &camera.createParams), kPDLibSuccess);
  EXPECT_EQ(process(lib, camera), kPDLibSuccess);
  close(0);
}

TEST_F(Session, AnswersParameters) {
  VekPDLib* lib = open(0);
  const Camera camera(0);
  PDHwConfig config{};
  PDSwInfo info{9};
  PDLibGetParamRequest request{kGetHardwareConfig, {&config, 77}};
  EXPECT_EQ(lib->pfnGetParam(nullptr, &request), kPDLibFailed);
  EXPECT_EQ(lib->pfnGetParam(lib, nullptr), kPDLibFailed);
  for (const bool isInitialised : {false, true}) {
    const int expected = isInitialised ? kPDLibSuccess : kPDLibFailed;
    if (isInitialised) {
      ASSERT_EQ(lib->pfnInitialize(lib, &camera.createParams), kPDLibSuccess);
    }
    config.enable = 5;
    info.lcrEnabled = 9;
    request = {kGetHardwareConfig, {&config, 77}};
    EXPECT_EQ(lib->pfnGetParam(lib, &request), expected);
    EXPECT_EQ(request.output.size, isInitialised ? sizeof(PDHwConfig) : 0u);
    EXPECT_EQ(config.enable, 0u);
    request = {kGetSWInfo, {&info, 77}};
    EXPECT_EQ(lib->pfnGetParam(lib, &request), expected);
    EXPECT_EQ(request.output.size, isInitialised ? 4u : 0u);
    EXPECT_EQ(info.lcrEnabled, 0u);
  }
  for (const uint32_t type : {2u, 0xffffffffu}) {
    info.lcrEnabled = 9;
    request = {type, {&info, 77}};
    EXPECT_EQ(lib->pfnGetParam(lib, &request), kPDLibSuccess);
    EXPECT_EQ(request.output.size, 77u);
    EXPECT_EQ(info.lcrEnabled, 9u);
  }
  for (const uint32_t type : {0u, 1u}) {
    request = {type, {nullptr, 77}};
    EXPECT_EQ(lib->pfnGetParam(lib, &request), kPDLibFailed);
  }
  close(0);
}

TEST_F(Session, ASecondSessionFindsTheCoreRunning) {
  Camera camera(1);
  camera.createParams.initParam.logLevel = 1;
  VekPDLib* lib = start(camera);
  ASSERT_NE(lib, nullptr);
  void* handle = lib->pPrivate;
  open(1);
  EXPECT_EQ(lib->pfnInitialize(lib, &camera.createParams), kPDLibSuccess);
  EXPECT_EQ(lib->pPrivate, handle);
  EXPECT_TRUE(wasLogged("PDLib already initialized, IGNORE"));
  close(1);
  EXPECT_TRUE(wasLogged("cameraID 1 instance count 1 skip destroying PD"));
  EXPECT_EQ(process(lib, camera), kPDLibSuccess);
  close(1);
}

// ---- Files of learnt coefficients

std::vector<char> ReadAll(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

TEST_F(Session, LoadsTheFileOfItsOwnCamera) {
  for (const size_t size : {0u, 959u, 960u, 2000u}) {
    std::ofstream(dataFile(6), std::ios::binary) << std::string(size, 'k');
    Orvo::Host::StartLogCapture();
    Camera camera(6);
    camera.createParams.initParam.logLevel = 1;
    VekPDLib* lib = start(camera);
    ASSERT_NE(lib, nullptr);
    EXPECT_TRUE(wasLogged("pFilePath is /var/cache/camera/pdlibdata6.bin"));
    // One that lacks bytes counts as none.
    EXPECT_EQ(wasLogged("Can not load adaptive PDAF data - using defaults"), size < 960);
    close(6);
    // Nothing was learnt, so that what is there isn't overwritten.
    EXPECT_EQ(ReadAll(dataFile(6)), std::vector<char>(size, 'k'));
  }
}

TEST_F(Session, AMissingFileIsNoError) {
  Camera camera(5);
  camera.createParams.initParam.logLevel = 1;
  VekPDLib* lib = start(camera);
  ASSERT_NE(lib, nullptr);
  EXPECT_TRUE(wasLogged("pFilePath is /var/cache/camera/pdlibdata5.bin"));
  EXPECT_TRUE(wasLogged("Failed to open the adaptive k data file"));
  EXPECT_TRUE(wasLogged("Can not load adaptive PDAF data - using defaults"));
  for (const auto& line : Orvo::Host::CapturedLog()) EXPECT_NE(line.level, 1u) << line.text;
  close(5);
}

// ---- Several cameras

TEST_F(Session, CamerasRunSideBySide) {
  enter();
  const Camera cameras[] = {Camera(0), Camera(1)};
  const auto run = [&](const Camera& camera) {
    const uint32_t cameraId = camera.createParams.initParam.cameraInfo.cameraId;
    for (int round = 0; round < 3; ++round) {
      VekPDLib* lib = nullptr;
      callbacks_.pfnCreate(&lib, ParamList::Open(cameraId).get());
      ASSERT_NE(lib, nullptr);
      PDLibCreateParams params = camera.createParams;
      params.initParam.profileFlags = 1u << 5;
      EXPECT_EQ(lib->pfnInitialize(lib, &params), kPDLibSuccess);
      const PDLibInputs inputs = camera.inputs();
      for (int frame = 0; frame < 3; ++frame) {
        PDLibOutputData output{};
        EXPECT_EQ(lib->pfnProcess(lib, &inputs, &output), kPDLibSuccess);
        EXPECT_GT(output.defocusInfo[0].confidence, 500u);
      }
      lib->pfnDestroy(lib, ParamList::Close(cameraId).get());
    }
  };
  std::thread second([&] { run(cameras[1]); });
  run(cameras[0]);
  second.join();
}

TEST_F(Session, ThreadsShareOneCameraByCount) {
  VekPDLib* lib = open(0);
  constexpr int kThreads = 4;
  std::latch start(kThreads);
  const auto churn = [&] {
    start.arrive_and_wait();
    for (int i = 0; i < 20000; ++i) {
      VekPDLib* mine = nullptr;
      callbacks_.pfnCreate(&mine, ParamList::Open(0).get());
      EXPECT_EQ(mine, lib);
      lib->pfnDestroy(mine, ParamList::Close(0).get());
    }
  };
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) threads.emplace_back(churn);
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(lib->instanceCount, 1u);
  close(0);
}

}  // namespace
