// Sessions of a camera: sharing, frames, files, several cameras.
#include <cstring>
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

TEST_F(Session, OnlyAnActualCloseFreesTheObject) {
  VekPDLib* lib = open(2);
  struct {
    const char* what;
    ParamList list;
    bool isCounted;
  } cases[] = {
      {"no override", ParamList().addCamera(1, 2), true},
      {"short override", ParamList().addCamera(1, 2).addOverride(0, 1, 3), true},
      {"override 0", ParamList::Close(2, 0), true},
      {"override 2", ParamList::Close(2, 2), true},
      {"empty", ParamList(), false},
      {"no camera", ParamList().addOverride(0, 1), false},
      {"camera 8", ParamList::Close(8), false},
      {"camera of all ones", ParamList::Close(0xffffffffu), false},
      {"another camera", ParamList::Close(5), false},
  };
  for (auto& c : cases) {
    if (c.isCounted) open(2);
    EXPECT_EQ(lib->pfnDestroy(lib, c.list.get()), kPDLibSuccess) << c.what;
    EXPECT_EQ(lib->instanceCount, 1u) << c.what;
  }
  EXPECT_EQ(lib->pfnDestroy(lib, nullptr), kPDLibSuccess);
  // A count of 0 without an actual close keeps the object, and can't fall below.
  for (int i = 0; i < 2; ++i) lib->pfnDestroy(lib, cases[0].list.get());
  EXPECT_EQ(lib->instanceCount, 0u);
  EXPECT_EQ(Orvo::Host::Allocations().live, liveBefore_ + 1);
  EXPECT_EQ(lib->pfnDestroy(nullptr, ParamList::Close(2).get()), kPDLibSuccess);
}

TEST_F(Session, MeasuresAFrame) {
  const Camera camera(0);
  VekPDLib* lib = start(camera);
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
  // The status and the size of the answer.
  const auto ask = [&](uint32_t type, void* answer) {
    PDLibGetParamRequest request{type, {answer, 77}};
    const int status = lib->pfnGetParam(lib, &request);
    return std::pair(status, request.output.size);
  };
  PDLibGetParamRequest request{kGetSWInfo, {&info, 77}};
  EXPECT_EQ(lib->pfnGetParam(nullptr, &request), kPDLibFailed);
  EXPECT_EQ(lib->pfnGetParam(lib, nullptr), kPDLibFailed);
  for (const bool isInitialised : {false, true}) {
    const int expected = isInitialised ? kPDLibSuccess : kPDLibFailed;
    if (isInitialised) {
      ASSERT_EQ(lib->pfnInitialize(lib, &camera.createParams), kPDLibSuccess);
    }
    config.enable = 5;
    info.lcrEnabled = 9;
    EXPECT_EQ(ask(kGetHardwareConfig, &config),
              std::pair(expected, isInitialised ? uint32_t{sizeof(PDHwConfig)} : 0u));
    EXPECT_EQ(config.enable, 0u);
    EXPECT_EQ(ask(kGetSWInfo, &info), std::pair(expected, isInitialised ? 4u : 0u));
    EXPECT_EQ(info.lcrEnabled, 0u);
  }
  info.lcrEnabled = 9;
  for (const uint32_t type : {2u, 0xffffffffu}) {
    EXPECT_EQ(ask(type, &info), std::pair(int{kPDLibSuccess}, 77u));
    EXPECT_EQ(info.lcrEnabled, 9u);
  }
  for (const uint32_t type : {0u, 1u}) EXPECT_EQ(ask(type, nullptr).first, kPDLibFailed);
  close(0);
}

TEST_F(Session, ASecondSessionFindsTheCoreRunning) {
  Camera camera(1);
  camera.createParams.initParam.logLevel = 1;
  VekPDLib* lib = start(camera);
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

using Blob = std::vector<int16_t>;

class LearntFile : public Plugin {
 protected:
  // Opens the camera, shows it some frames and closes it.
  void Run(uint32_t cameraId, int32_t learns = 1) {
    Camera camera(cameraId);
    camera.createParams.initParam.logLevel = 1;
    camera.tuning.adaptiveK.enable = learns;
    camera.tuning.adaptiveK.filterSize = 3;
    VekPDLib* lib = start(camera);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(process(lib, camera), kPDLibSuccess);
    close(cameraId);
  }
  Blob Read(uint32_t cameraId) const {
    std::ifstream file(dataFile(cameraId), std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
    Blob values(bytes.size() / 2);
    if (!values.empty()) std::memcpy(values.data(), bytes.data(), values.size() * 2);
    return values;
  }
  void Write(uint32_t cameraId, const Blob& values) const {
    std::ofstream(dataFile(cameraId), std::ios::binary)
        .write(reinterpret_cast<const char*>(values.data()),
               static_cast<std::streamsize>(values.size() * 2));
  }
  const Blob calibrated_ = Blob(480, 1);  // 1024 with ten fractional bits
};

TEST_F(LearntFile, ComesBackBitForBit) {
  Blob values;
  for (int i = 0; i < 480; ++i) values.push_back(static_cast<int16_t>(i * 137 - 32768 + 1));
  Write(3, values);
  Run(3);
  EXPECT_EQ(Read(3), values);
  Run(4);  // another camera has its own, which begins with the calibration
  EXPECT_EQ(Read(3), values);
  EXPECT_EQ(Read(4), calibrated_);
}

TEST_F(LearntFile, OneThatLacksBytesCountsAsNone) {
  for (const size_t size : {0u, 2u, 479u, 480u, 1000u}) {
    Write(6, Blob(size, 7));
    Orvo::Host::StartLogCapture();
    Run(6, 0);
    EXPECT_TRUE(wasLogged("pFilePath is /var/cache/camera/pdlibdata6.bin"));
    EXPECT_EQ(wasLogged("Can not load adaptive PDAF data - using defaults"), size < 480);
    EXPECT_EQ(Read(6), Blob(size, 7)) << "nothing was learnt that could be stored";
    Run(6);
    EXPECT_EQ(Read(6)[0], size < 480 ? 1 : 7) << size;
  }
}

TEST_F(LearntFile, OneThatIsMissingIsNoErrorAndWhatIsNoFileIsSurvived) {
  Run(5, 0);
  EXPECT_TRUE(wasLogged("Failed to open the adaptive k data file"));
  EXPECT_TRUE(wasLogged("Can not load adaptive PDAF data - using defaults"));
  for (const auto& line : Orvo::Host::CapturedLog()) EXPECT_NE(line.level, 1u) << line.text;
  std::filesystem::create_directory(dataFile(5));
  Run(5);
  EXPECT_TRUE(std::filesystem::is_directory(dataFile(5)));
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
