// Tuning files on the command line: compile, decompile, show, diff, check, schema, reference.
#include <cstdio>
#include <new>

#include "commands.h"
#include "errors.h"

namespace {

int Run(int argc, char** argv) {
  CLI::App app("Makes, lists, compares and checks binary tuning files.", "tessarine");
  app.require_subcommand(1);
  app.footer(
      "Examples:\n"
      "  tessarine compile tuning.json -o tuning.bin\n"
      "  tessarine show tuning.bin --mode 'Default|Sensor.3'\n"
      "  tessarine diff old.bin new.bin\n"
      "  tessarine check tuning.bin\n"
      "  tessarine decompile tuning.bin -o tuning.json\n\n"
      "Exit status: 0 done, 1 a defect or a difference, 2 wrong usage, 3 bad input file.");
  int status = tessarine::kDone;
  tessarine::AddCompileCommand(app, status);
  tessarine::AddDecompileCommand(app, status);
  tessarine::AddShowCommand(app, status);
  tessarine::AddDiffCommand(app, status);
  tessarine::AddCheckCommand(app, status);
  tessarine::AddSchemaCommands(app, status);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? tessarine::kDone : tessarine::kWrongUsage;
  }
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return Run(argc, argv);
  } catch (const tessarine::InputError& error) {
    std::fprintf(stderr, "tessarine: %s\n", error.what());
    return tessarine::kBadInput;
  } catch (const std::bad_alloc&) {
    std::fprintf(stderr, "tessarine: not enough memory\n");
    return tessarine::kBadInput;
  }
}
