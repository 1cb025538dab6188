#include <cstdio>
#include <cstdlib>

#include "errors.h"
#include "focus_run.h"
#include "sweep.h"
using namespace simcam;
static double E(const char* n, double d) {
  const char* v = getenv(n);
  return v ? atof(v) : d;
}
int main(int argc, char** argv) {
  try {
    DataFolder folder("");
    PdLibrary lib(PdLibrary::DefaultPath());
    SensorDescription s = LoadSensor(argc > 1 ? argv[1] : "s16");
    TuningChoices& t = s.tuning;
    t.boxFilterLength = (int)E("BOX", t.boxFilterLength);
    t.antiAliasFilterThreshold = (int)E("AA", t.antiAliasFilterThreshold);
    t.verticalBinning = (int)E("VB", t.verticalBinning);
    t.bandPass = E("IIR", t.bandPass) != 0;
    t.biasVectorStrength = E("BIAS", t.biasVectorStrength);
    t.searchTo = (int)E("SR", t.searchTo);
    t.searchFrom = -t.searchTo;
    t.confIntegralWidth = (int)E("CIW", t.confIntegralWidth);
    t.optimizedParsing = E("OPT", t.optimizedParsing) != 0;
    t.peripheralWindows = false;
    CameraSettings c;
    c.scene = argc > 2 ? argv[2] : "mixed";
    c.seed = (uint64_t)E("SEED", 1);
    c.noise.variancePerCode = E("VAR", 0.05);
    c.noise.readNoise = E("RN", 1.5);
    c.shading = E("SH", 0.35);
    c.optics.blurPerPx = E("BLUR", 0.5);
    c.optics.focusSigma = E("FS", 0.7);
    if (argc > 3) {
      for (int d = -1; d <= 1; d += 2) {
        FocusSettings f;
        f.startPhasePx = 32 * d;
        FocusRun r(lib, s, c, f);
        while (!r.IsDone()) {
          auto& x = r.Step();
          printf("%d lens %.1f true %.2f meas %.2f conf %u res %u %s\n", x.index, x.lensPosition,
                 x.truePhasePx, x.roi.phaseDiff, x.roi.confidence, x.processingResult,
                 ActionName(x.action));
        }
      }
      return 0;
    }
    SweepSettings w;
    w.from = E("FROM", -20);
    w.to = E("TO", 20);
    w.step = E("STEP", 1);
    SweepResult r = RunSweep(lib, s, c, w, nullptr);
    auto pr = [](const char* n, const ErrorScores& e) {
      printf("%-10s n %d bias %.3f mae %.3f rms %.3f worst %.3f slope %.4f conf %.3f\n", n,
             e.points, e.bias, e.meanAbs, e.rms, e.worst, e.slope, e.confidentShare);
    };
    pr("all", r.scores);
    pr("confident", r.confidentScores);
    pr("roi", r.roiScores);
    if (getenv("V"))
      for (auto& e : r.windows) pr("win", e);
    if (getenv("P"))
      for (auto& p : r.roiPoints)
        printf("%.1f %.3f %.3f conf %u\n", p.truePhasePx, p.measured.phaseDiff,
               p.measured.phaseDiff - p.truePhasePx, p.measured.confidence);
    return 0;
  } catch (const std::exception& e) {
    fprintf(stderr, "%s\n", e.what());
    return 1;
  }
}
