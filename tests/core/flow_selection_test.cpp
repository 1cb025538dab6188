#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <utility>

#include "core/pdlib.h"
#include "core/pdlib_flows.h"
#include "support/camera.h"

using afpdlibelements::tessarinePDAxisControl;
using test::PdCamera;

namespace {

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
    PdCamera camera;
    camera.tuning.HVControl.PDProcessingAxis = static_cast<tessarinePDAxisControl>(c.axis);
    camera.tuning.hardwareGeometry.enabldHardwarePDModule = c.hardwareTuning;
    if (c.wantsDiagonal) camera.addExtension("HVSelection", {4, 0});
    camera.buffer().sensorType = static_cast<PDAFType>(c.sensor);
    camera.init.DualPDHWEnable = c.dualHardware;
    camera.init.SparsePDHWEnable = c.sparseHardware;
    EXPECT_EQ(SelectPDLibFlow(camera.init, camera.tuning), c.expected)
        << "axis " << c.axis << " sensor " << c.sensor << " tuning " << c.hardwareTuning << " dual "
        << c.dualHardware << " sparse " << c.sparseHardware << " diagonal " << c.wantsDiagonal;
  }
}

TEST(FlowSelection, DiagonalFollowsTheFirstEntryThatCounts) {
  struct Extension {
    const char* name;
    std::vector<float> values;
    int32_t enabled = 1;
  };
  const std::tuple<const char*, std::vector<Extension>, bool> cases[] = {
      {"no entries", {}, false},
      {"four", {{"HVSelection", {4, 0}}}, true},
      {"truncates down to four", {{"HVSelection", std::vector<float>(9, 4.9f)}}, true},
      {"truncates to three", {{"HVSelection", {3.99f, 0}}}, false},
      {"negative", {{"HVSelection", {-4, 0}}}, false},
      {"not a number", {{"HVSelection", {NAN, 0}}}, false},
      {"beyond integers", {{"HVSelection", {1e30f, 0}}}, false},
      {"a single value", {{"HVSelection", {4}}}, false},
      {"disabled", {{"HVSelection", {4, 0}, 0}}, false},
      {"enabled by another value", {{"HVSelection", {4, 0}, 2}}, false},
      {"longer name", {{"HVSelection2", {4, 0}}}, false},
      {"prefix", {{"HVSelect", {4, 0}}}, false},
      {"the disabled one is passed over",
       {{"HVSelection", {0, 0}, 0}, {"Other", {1, 0}}, {"HVSelection", {4, 0}}},
       true},
      {"the first that counts decides", {{"HVSelection", {0, 0}}, {"HVSelection", {4, 0}}}, false},
  };
  for (const auto& [what, entries, expected] : cases) {
    PdCamera camera;
    for (const Extension& e : entries) camera.addExtension(e.name, e.values, e.enabled);
    EXPECT_EQ(isDiagonalFlowEnable(&camera.tuning), expected) << what;
  }
}

TEST(FlowSelection, DiagonalSurvivesBrokenLists) {
  EXPECT_FALSE(isDiagonalFlowEnable(nullptr));
  PdCamera camera;
  camera.addExtension("HVSelection", {4, 0});
  auto& entry = camera.tuning.extensionParam[0];
  char* const name = std::exchange(entry.Name, nullptr);
  EXPECT_FALSE(isDiagonalFlowEnable(&camera.tuning));
  entry.Name = name;
  entry.data = nullptr;
  EXPECT_FALSE(isDiagonalFlowEnable(&camera.tuning));
  camera.tuning.extensionParam = nullptr;
  EXPECT_FALSE(isDiagonalFlowEnable(&camera.tuning));
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
