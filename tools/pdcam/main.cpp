// A camera with known truth on the command line: focus, sweep, learn, match, adaptive, sensors.
#include <cstdio>

#include "errors.h"
#include "options.h"

namespace {

int Run(int argc, char** argv) {
  CLI::App app("A simulated camera that measures and focuses with the PD library.", "pdcam");
  app.require_subcommand(1);
  app.footer(
      "Examples:\n"
      "  pdcam focus --report focus.html\n"
      "  pdcam focus --sensor two-processors --scene photo.jpg --start -30 --noise much\n"
      "  pdcam focus --check\n"
      "  pdcam sweep --noise none --json\n"
      "  pdcam learn --k-error 0.8 --report learn.html\n"
      "  pdcam match left.pgm right.pgm --report match.html\n"
      "  pdcam sensors s16 > mine.json; pdcam sweep --sensor ./mine.json\n\n"
      "Exit status: 0 done, 1 a check failed, 2 wrong usage, 3 bad input file, 4 no PD library.");
  int status = pdcam::kDone;
  pdcam::AddFocusCommand(app, status);
  pdcam::AddSweepCommand(app, status);
  pdcam::AddLearnCommand(app, status);
  pdcam::AddMatchCommand(app, status);
  pdcam::AddAdaptiveCommand(app, status);
  pdcam::AddSensorsCommand(app, status);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? pdcam::kDone : pdcam::kWrongUsage;
  }
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return Run(argc, argv);
  } catch (const simcam::InputError& error) {
    std::fprintf(stderr, "pdcam: %s\n", error.what());
    return pdcam::kBadInput;
  } catch (const simcam::DeviceError& error) {
    std::fprintf(stderr, "pdcam: %s\n", error.what());
    return pdcam::kNoDevice;
  } catch (const std::bad_alloc&) {
    std::fprintf(stderr, "pdcam: not enough memory for these settings\n");
    return pdcam::kBadInput;
  }
}
