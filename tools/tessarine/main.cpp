// Tuning files and the live link on the command line.
#include <cstdio>
#include <new>

#include "commands.h"
#include "common/command_line.h"
#include "common/files.h"
#include "common/standard_output.h"
#include "errors.h"
#include "link_errors.h"

namespace {

int Run(int argc, char** argv) {
  CLI::App app("Makes, lists, compares and checks binary tuning files; tunes a running camera.",
               "tessarine");
  app.require_subcommand(1);
  app.footer(
      "Examples:\n"
      "  tessarine compile tuning.json -o tuning.bin\n"
      "  tessarine show tuning.bin --mode 'Default|Sensor.3'\n"
      "  tessarine diff old.bin new.bin\n"
      "  tessarine check tuning.bin\n"
      "  tessarine decompile tuning.bin -o tuning.json\n"
      "  tessarine serve tuning.bin\n"
      "  tessarine link get Default tessarinePDLib.preProcess\n\n"
      "Exit status: 0 done, 1 a defect or a difference, 2 wrong usage, 3 a file that\n"
      "can't be used (standard output as well), 4 no connection to a device.");
  int status = tessarine::kDone;
  tessarine::AddCompileCommand(app, status);
  tessarine::AddDecompileCommand(app, status);
  tessarine::AddShowCommand(app, status);
  tessarine::AddDiffCommand(app, status);
  tessarine::AddCheckCommand(app, status);
  tessarine::AddSchemaCommands(app, status);
  tessarine::AddServeCommand(app, status);
  tessarine::AddLinkCommand(app, status);
  return tool::RunCommand(app, argc, argv).value_or(status);
}

// Every fault as its text and exit status.
int RunAndTell(int argc, char** argv) {
  const auto fail = [](const char* text, int status) {
    std::fprintf(stderr, "tessarine: %s\n", text);
    return status;
  };
  try {
    return Run(argc, argv);
  } catch (const tessarine::InputError& error) {
    return fail(error.what(), tessarine::kBadInput);
  } catch (const tool::FileError& error) {
    return fail(error.what(), tessarine::kBadInput);
  } catch (const tessarine::NotOnDevice& error) {
    return fail(error.what(), tessarine::kFound);
  } catch (const tessarine::LinkError& error) {
    return fail(error.what(), tessarine::kNoConnection);
  } catch (const std::bad_alloc&) {
    return fail("not enough memory", tessarine::kBadInput);
  }
}

}  // namespace

int main(int argc, char** argv) {
  tool::OpenStandardStreams();
  return tool::CloseOutput("tessarine", RunAndTell(argc, argv));
}
