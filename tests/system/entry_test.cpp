// The exported entry and the callbacks that it hands out.
#include <cstring>

#include "plugin.h"

using test::ParamList;
using test::Plugin;

namespace {

using Entry = Plugin;

TEST_F(Entry, FillsARecordThatIsLargeEnough) {
  for (const uint32_t size : {48u, 1000u}) {
    PDLibCallbacks callbacks{};
    callbacks.size = size;
    callbacks.reserved = 0x1122334455667788u;
    entry_(&callbacks);
    EXPECT_EQ(callbacks.size, size);
    EXPECT_EQ(callbacks.reserved, 0x1122334455667788u);
    EXPECT_NE(callbacks.pfnGetCapabilities, nullptr);
    EXPECT_NE(callbacks.pfnQueryVendorTag, nullptr);
    EXPECT_NE(callbacks.pfnCreate, nullptr);
    EXPECT_NE(callbacks.pfnRegisterAlgoInterface, nullptr);
    EXPECT_EQ(callbacks.pfnGetCapabilities(nullptr), kPDLibSuccess);
  }
}

TEST_F(Entry, LeavesUnusableRecordsAloneAndStillCreatesTheLock) {
  PDLibCallbacks callbacks{};
  callbacks.size = 47;
  Orvo::Host::FailMutexCreation(true);
  entry_(&callbacks);
  Orvo::Host::FailMutexCreation(false);
  EXPECT_EQ(callbacks.pfnCreate, nullptr);
  EXPECT_TRUE(wasLogged("pCallBacks is smaller than expected"));
  EXPECT_TRUE(wasLogged("Could not create AFPDlibLock"));
  Orvo::Host::StartLogCapture();
  entry_(nullptr);
  EXPECT_EQ(logTexts(), std::vector<std::string>{"Invalid argument: pCallBacks is NULL"});
  EXPECT_NE(Orvo::Host::CapturedLog()[0].text.find(" [VEK    ] orvopdlibinterface.cpp:"),
            std::string::npos);
}

TEST_F(Entry, WorksWithoutALock) {
  Orvo::Host::FailMutexCreation(true);
  enter();
  Orvo::Host::FailMutexCreation(false);
  EXPECT_NE(open(0), nullptr);
  close(0);
}

TEST_F(Entry, PublishesNoVendorTags) {
  enter();
  EXPECT_EQ(callbacks_.pfnQueryVendorTag(nullptr), kPDLibInvalidPointer);
  PDLibVendorTagQuery query{15, 9};
  EXPECT_EQ(callbacks_.pfnQueryVendorTag(&query), kPDLibFailed);
  EXPECT_EQ(query.tagSectionCount, 9u);
  query.size = 16;
  EXPECT_EQ(callbacks_.pfnQueryVendorTag(&query), kPDLibSuccess);
  EXPECT_EQ(query.tagSectionCount, 0u);
}

PDLibComponentInfo g_seenInfo;
std::string g_seenName;

TEST_F(Entry, TellsTheRegisteredInterfaceItsName) {
  enter();
  VekAlgoInterface algoInterface{};
  callbacks_.pfnRegisterAlgoInterface(nullptr);
  callbacks_.pfnRegisterAlgoInterface(&algoInterface);
  algoInterface.pfnSetComponent = [](const PDLibComponentInfo* info) {
    g_seenInfo = *info;
    g_seenName = info->name;
  };
  callbacks_.pfnRegisterAlgoInterface(&algoInterface);
  EXPECT_EQ(g_seenInfo.size, 24u);
  EXPECT_EQ(g_seenInfo.reserved, 0u);
  EXPECT_EQ(g_seenName, "com.zyn.stats.pdlib");
}

TEST_F(Entry, OnlyAnActualOpenGivesAnObject) {
  enter();
  struct {
    const char* what;
    ParamList list;
    bool isActual;
  } cases[] = {
      {"both", ParamList::Open(0), true},
      {"camera first", ParamList().addCamera(2, 6).addOverride(0, 1), true},
      {"larger records", ParamList().addOverride(0, 1, 8).addCamera(2, 1, 400), true},
      {"empty", ParamList(), false},
      {"no override", ParamList().addCamera(2, 0), false},
      {"no camera", ParamList().addOverride(0, 1), false},
      {"override 0", ParamList::Open(0, 0), false},
      {"override 2", ParamList::Open(0, 2), false},
      {"short override", ParamList().addOverride(0, 1, 3).addCamera(2, 0), false},
      {"short camera", ParamList().addOverride(0, 1).addCamera(2, 0, 7), false},
      {"camera 8", ParamList::Open(8), false},
      {"camera of all ones", ParamList::Open(0xffffffffu), false},
      {"types of the other call", ParamList().addOverride(0, 1).addCamera(1, 0), false},
  };
  VekPDLib marker{};
  for (auto& c : cases) {
    VekPDLib* lib = &marker;
    EXPECT_EQ(callbacks_.pfnCreate(&lib, c.list.get()), kPDLibSuccess) << c.what;
    EXPECT_EQ(lib != &marker, c.isActual) << c.what;
  }
  VekPDLib* lib = &marker;
  EXPECT_EQ(callbacks_.pfnCreate(&lib, nullptr), kPDLibSuccess);
  const PDLibParamList broken{nullptr, 5};
  EXPECT_EQ(callbacks_.pfnCreate(&lib, &broken), kPDLibSuccess);
  const PDLibListEntry empty[] = {{0, nullptr, 4}, {2, nullptr, 8}};
  const PDLibParamList nullData{empty, 2};
  EXPECT_EQ(callbacks_.pfnCreate(&lib, &nullData), kPDLibSuccess);
  EXPECT_EQ(callbacks_.pfnCreate(nullptr, ParamList::Open(0).get()), kPDLibSuccess);
  EXPECT_EQ(lib, &marker);
  for (const uint32_t cameraId : {0u, 1u, 6u}) close(cameraId);
}

}  // namespace
