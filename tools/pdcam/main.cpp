// A camera with known truth on the command line: focus, sweep, learn, match, adaptive, sensors.
#include <cstdio>
#include <new>

#include "common/command_line.h"
#include "common/files.h"
#include "common/standard_output.h"
#include "errors.h"
#include "options.h"
#include "run_record.h"
#include "stop.h"

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
      "Exit status: 0 done, 1 a check failed, 2 wrong usage, 3 a file that can't be used\n"
      "(standard output as well), 4 no PD library.");
  int status = pdcam::kDone;
  pdcam::AddFocusCommand(app, status);
  pdcam::AddSweepCommand(app, status);
  pdcam::AddLearnCommand(app, status);
  pdcam::AddMatchCommand(app, status);
  pdcam::AddAdaptiveCommand(app, status);
  pdcam::AddSensorsCommand(app, status);
  return tool::RunCommand(app, argc, argv).value_or(status);
}

// Every fault as its text and exit status.
int RunAndTell(int argc, char** argv) {
  const auto fail = [](const char* text, int status) {
    std::fprintf(stderr, "pdcam: %s\n", text);
    return status;
  };
  try {
    return Run(argc, argv);
  } catch (const simcam::InputError& error) {
    return fail(error.what(), pdcam::kBadInput);
  } catch (const tool::FileError& error) {
    return fail(error.what(), pdcam::kBadInput);
  } catch (const simcam::DeviceError& error) {
    return fail(error.what(), pdcam::kNoDevice);
  } catch (const std::bad_alloc&) {
    return fail("not enough memory for these settings", pdcam::kBadInput);
  } catch (const pdcam::Stopped&) {
    return pdcam::kDone;  // a signal ends the program, see below
  }
}

}  // namespace

int main(int argc, char** argv) {
  tool::OpenStandardStreams();
  pdcam::CatchStopSignals();
  pdcam::RememberCommandLine(argc, argv);
  const int status = RunAndTell(argc, argv);
  std::fflush(stdout);
  pdcam::EndBySignal();
  return tool::CloseOutput("pdcam", status);
}
