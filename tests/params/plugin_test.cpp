// A session of the plug-in that takes its tuning from the caller's manager.
#include "system/plugin.h"

#include "support/pd_tuning.h"
#include "tuningsetmanager.h"

namespace test {
namespace {

using ManagedSession = Plugin;

// Has the camera's record in a file, under a mode; the default has no PD data.
void Load(TuningSetManager& manager, const Camera& camera) {
  TuningFile file;
  file.modes = {{0, 0, 0, 0}, {1, 2, 0, 0}};
  PdSource source(0);
  const auto text = source.record().parameter_version.revision;
  source.record() = camera.tuning;
  source.record().parameter_version.revision = text;
  AddPd(file, source, 1);
  const Bytes bytes = file.build();
  ASSERT_TRUE(manager.LoadBinaryParameters(bytes.data(), bytes.size()));
}

TEST_F(ManagedSession, GivesTheSameResultsAsWithARecordOfItsOwn) {
  enter();
  std::vector<PDLibDefocusInfo> results[2];
  for (const bool managed : {false, true}) {
    Camera camera(0);
    TuningSetManager manager;
    Load(manager, camera);
    const TuningMode branch[] = {{0, 0}, {2, 0}};
    if (managed) {
      camera.createParams.initParam.tuningData = nullptr;
      camera.createParams.tuningManager = &manager;
      camera.createParams.tuningModes = branch;
      camera.createParams.tuningModeCount = 2;
    }
    VekPDLib* lib = open(0);
    ASSERT_EQ(lib->pfnInitialize(lib, &camera.createParams), kPDLibSuccess);
    const PDLibInputs inputs = camera.inputs();
    EXPECT_EQ(lib->pfnProcess(lib, &inputs, &output_), kPDLibSuccess);
    results[managed].assign(output_.defocusInfo, output_.defocusInfo + 4);
    close(0);
  }
  for (size_t i = 0; i < 4; ++i) {
    EXPECT_EQ(results[0][i].phaseDiff, results[1][i].phaseDiff);
    EXPECT_EQ(results[0][i].confidence, results[1][i].confidence);
    EXPECT_GT(results[1][i].confidence, 0u);
  }
}

TEST_F(ManagedSession, FailsWhereTheManagerHasNoRecord) {
  enter();
  Camera camera(0);
  TuningSetManager manager;
  Load(manager, camera);
  camera.createParams.initParam.tuningData = nullptr;
  camera.createParams.tuningManager = &manager;  // the default branch
  VekPDLib* lib = open(0);
  EXPECT_EQ(lib->pfnInitialize(lib, &camera.createParams), kPDLibFailed);
  EXPECT_TRUE(wasLogged("PDLib tuning is not being provided."));
  close(0);
}

}  // namespace
}  // namespace test
