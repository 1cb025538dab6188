#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "afpdlibelements.h"
#include "core/pdlib.h"
#include "core/pdlib_flows.h"

using afpdlibelements::tessarinePDAxisControl;
using afpdlibelements::tessarinePDLibType;
using statsglobalelements::statsExtensionParamType;

namespace {

struct Extension {
  const char* name;
  int32_t enableFlag;
  uint32_t dataCount;
  float first;
};

// A tuning whose extension list points into itself.
struct Tuning {
  tessarinePDLibType record{};
  statsExtensionParamType entries[3] = {};
  float data[3][2] = {};

  void add(const Extension& extension) {
    const uint32_t i = record.extensionParamCount++;
    data[i][0] = extension.first;
    entries[i].Name = const_cast<char*>(extension.name);
    entries[i].enableFlag = extension.enableFlag;
    entries[i].dataCount = extension.dataCount;
    entries[i].data = data[i];
    record.extensionParam = entries;
  }
};

struct SelectionCase {
  uint32_t axis;
  uint32_t sensor;
  int32_t hardwareTuning;
  uint32_t dualHardware;
  uint32_t sparseHardware;
  bool wantsDiagonal;
  PDFlowType expected;
};

constexpr SelectionCase kSelections[] = {
    // Both axes win over everything.
    {2, 1, 0, 0, 0, false, kFlowSparseHV},
    {2, 4, 0, 0, 0, false, kFlowSparseHV},
    {2, 5, 1, 1, 1, true, kFlowSparseHV},
    // Dual PD.
    {0, 4, 0, 0, 0, false, kFlowDPD},
    {1, 5, 0, 0, 0, false, kFlowDPD},
    {0, 4, 0, 0, 0, true, kFlowFullDiagonal},
    {0, 5, 1, 1, 1, true, kFlowFullDiagonal},
    {0, 4, 1, 1, 0, false, kFlowHardwareDPD},
    {1, 5, 1, 1, 0, false, kFlowHardwareDPD},
    {0, 4, 2, 1, 1, false, kFlowDPD},
    {0, 4, 1, 2, 1, false, kFlowDPD},
    {0, 4, 1, 0, 1, false, kFlowDPD},
    {0, 4, 0, 1, 1, false, kFlowDPD},
    // Sparse.
    {0, 1, 0, 0, 0, false, kFlowSparseHorizontal},
    {0, 2, 0, 1, 1, false, kFlowSparseHorizontal},
    {1, 3, 0, 1, 1, false, kFlowSparseVertical},
    {0, 3, 1, 1, 0, false, kFlowSparseHorizontal},
    {1, 3, 1, 1, 0, false, kFlowSparseVertical},
    {0, 1, 1, 0, 1, false, kFlowSparseHardware},
    {1, 3, -1, 0, 7, false, kFlowSparseHardware},
    {0, 1, 0, 0, 0, true, kFlowSparseHorizontal},
    // Values outside the lists.
    {0, 0, 0, 0, 0, false, kFlowSparseHorizontal},
    {3, 6, 0, 0, 0, true, kFlowSparseHorizontal},
    {1, 0xffffffffu, 0, 0, 0, false, kFlowSparseVertical},
};

TEST(FlowSelection, FollowsAxisSensorAndHardware) {
  for (const SelectionCase& c : kSelections) {
    Tuning tuning;
    tuning.record.HVControl.PDProcessingAxis = static_cast<tessarinePDAxisControl>(c.axis);
    tuning.record.hardwareGeometry.enabldHardwarePDModule = c.hardwareTuning;
    if (c.wantsDiagonal) tuning.add({"HVSelection", 1, 2, 4.0f});
    PDLibInitParam init{};
    init.bufferDataInfo.sensorType = static_cast<PDAFType>(c.sensor);
    init.DualPDHWEnable = c.dualHardware;
    init.SparsePDHWEnable = c.sparseHardware;
    EXPECT_EQ(SelectPDLibFlow(init, tuning.record), c.expected)
        << "axis " << c.axis << " sensor " << c.sensor << " tuning " << c.hardwareTuning << " dual "
        << c.dualHardware << " sparse " << c.sparseHardware << " diagonal " << c.wantsDiagonal;
  }
}

struct DiagonalCase {
  const char* what;
  std::vector<Extension> entries;
  bool expected;
};

TEST(FlowSelection, DiagonalFollowsTheFirstEntryThatCounts) {
  const DiagonalCase cases[] = {
      {"no entries", {}, false},
      {"four", {{"HVSelection", 1, 2, 4.0f}}, true},
      {"truncates down to four", {{"HVSelection", 1, 9, 4.9f}}, true},
      {"truncates to three", {{"HVSelection", 1, 2, 3.99f}}, false},
      {"negative", {{"HVSelection", 1, 2, -4.0f}}, false},
      {"not a number", {{"HVSelection", 1, 2, std::nanf("")}}, false},
      {"beyond integers", {{"HVSelection", 1, 2, 1e30f}}, false},
      {"a single value", {{"HVSelection", 1, 1, 4.0f}}, false},
      {"disabled", {{"HVSelection", 0, 2, 4.0f}}, false},
      {"enabled by another value", {{"HVSelection", 2, 2, 4.0f}}, false},
      {"longer name", {{"HVSelection2", 1, 2, 4.0f}}, false},
      {"prefix", {{"HVSelect", 1, 2, 4.0f}}, false},
      {"no name", {{nullptr, 1, 2, 4.0f}}, false},
      {"the disabled one is passed over",
       {{"HVSelection", 0, 2, 0.0f}, {"Other", 1, 2, 1.0f}, {"HVSelection", 1, 2, 4.0f}},
       true},
      {"the first that counts decides",
       {{"HVSelection", 1, 2, 0.0f}, {"HVSelection", 1, 2, 4.0f}},
       false},
  };
  for (const DiagonalCase& c : cases) {
    Tuning tuning;
    for (const Extension& entry : c.entries) tuning.add(entry);
    EXPECT_EQ(isDiagonalFlowEnable(&tuning.record), c.expected) << c.what;
  }
}

TEST(FlowSelection, DiagonalSurvivesBrokenLists) {
  EXPECT_FALSE(isDiagonalFlowEnable(nullptr));
  Tuning tuning;
  tuning.add({"HVSelection", 1, 2, 4.0f});
  tuning.entries[0].data = nullptr;
  EXPECT_FALSE(isDiagonalFlowEnable(&tuning.record));
  tuning.record.extensionParam = nullptr;
  EXPECT_FALSE(isDiagonalFlowEnable(&tuning.record));
}

TEST(FlowSelection, CreatesExactlyTheFlowsOfThisVersion) {
  for (uint32_t type : {0u, 1u, 2u, 3u, 4u, 5u, 6u, 7u, 8u, 0xffffffffu}) {
    const auto flowType = static_cast<PDFlowType>(type);
    IPDLIBFlow* flow = CreatePDLibFlow(flowType, nullptr);
    EXPECT_EQ(flow != nullptr, IsPDLibFlowAvailable(flowType)) << type;
    delete flow;
  }
  EXPECT_TRUE(IsPDLibFlowAvailable(kFlowSparseHorizontal));
}

}  // namespace
