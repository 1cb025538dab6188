// A session of the plug-in that takes its tuning from the caller's manager.
#include "system/plugin.h"

#include "support/pd_tuning.h"
#include "tuningsetmanager.h"

namespace test {
namespace {

using ManagedSession = Plugin;

// The default has no PD data.
TEST_F(ManagedSession, FailsWhereTheManagerHasNoRecord) {
  enter();
  TuningFile file;
  file.modes = {{0, 0, 0, 0}, {1, 2, 0, 0}};
  AddPd(file, PdSource(0), 1);
  const Bytes bytes = file.build();
  TuningSetManager manager;
  ASSERT_TRUE(manager.LoadBinaryParameters(bytes.data(), bytes.size()));
  Camera camera(0);
  camera.createParams.initParam.tuningData = nullptr;
  camera.createParams.tuningManager = &manager;
  VekPDLib* lib = open(0);
  EXPECT_EQ(lib->pfnInitialize(lib, &camera.createParams), kPDLibFailed);
  EXPECT_TRUE(wasLogged("PDLib tuning is not being provided."));
  close(0);
}

}  // namespace
}  // namespace test
