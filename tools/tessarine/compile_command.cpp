// tessarine compile, decompile: between sources and tuning files.
#include <cstdio>

#include "commands.h"
#include "decompile.h"
#include "errors.h"
#include "file_writer.h"
#include "files.h"
#include "source.h"

namespace tessarine {

void AddCompileCommand(CLI::App& app, int& status) {
  struct Options {
    std::string source, output;
    SourceChoices choices;
  };
  const auto options = std::make_shared<Options>();
  CLI::App* command = app.add_subcommand("compile", "Makes a tuning file of a source");
  command->add_option("source", options->source, "The source, JSON with comments")->required();
  command->add_option("-o,--output", options->output, "The tuning file")->required();
  command
      ->add_option("--format", options->choices.format,
                   "Version of the format, such as 4.0.0, instead of the source's")
      ->check([](const std::string& text) {
        const std::optional<Version> version = ParseVersion(text);
        return version && *version <= kNewestFormat
                   ? std::string()
                   : "expected a version up to " + ToText(kNewestFormat) + ", found " + text;
      });
  command->footer(
      "The alignment of fields follows from the format: 8 from 1.1.0 up to 3.0.0, else 1.\n"
      "Exit status 1 tells that the file was made, but the library refuses it or never serves "
      "some of it.\n\n"
      "Examples:\n"
      "  tessarine compile tuning.json -o tuning.bin\n"
      "  tessarine compile tuning.json -o old.bin --format 3.0.0");
  command->callback([options, &status] {
    const Model model = ReadSource(LoadText(options->source), options->source, options->choices);
    const Bytes file = WriteFile(model);
    SaveBytes(options->output, file);
    const FileReading reading = ReadFile(file);
    for (const std::vector<std::string>& lines : {reading.defects, reading.unserved})
      for (const std::string& line : lines)
        std::fprintf(stderr, "tessarine: %s: %s\n", options->source.c_str(), line.c_str());
    status = reading.defects.empty() && reading.unserved.empty() ? kDone : kFound;
  });
}

namespace {

// Throws InputError for a file that is sound, but says what no source can, such as a mode twice.
Decompiled MakeSource(const std::string& path, bool isWhole) {
  Bytes bytes;
  const Model model = LoadSoundFile(path, bytes);
  try {
    return Decompile(bytes, model, isWhole ? Extent::kAll : Extent::kChanges);
  } catch (const InputError& error) {
    throw InputError(path + ": no source can tell what it holds: " + error.what());
  }
}

}  // namespace

void AddDecompileCommand(CLI::App& app, int& status) {
  struct Options {
    std::string file, output;
    bool isWhole = false;
  };
  const auto options = std::make_shared<Options>();
  CLI::App* command =
      app.add_subcommand("decompile", "Makes the source of a tuning file, which must be sound");
  command->add_option("file", options->file, "The tuning file")->required();
  command->add_option("-o,--output", options->output, "The source")->required();
  command->add_flag("--all", options->isWhole,
                    "With every value, also those that are zero or the mode's above");
  command->footer(
      "Exit status 1 tells that the source has the same values but compiles to other bytes.\n\n"
      "Example:\n"
      "  tessarine decompile tuning.bin -o tuning.json");
  command->callback([options, &status] {
    const Decompiled decompiled = MakeSource(options->file, options->isWhole);
    SaveText(options->output, decompiled.source);
    status = decompiled.firstDifference ? kFound : kDone;
    if (decompiled.firstDifference)
      std::fprintf(stderr,
                   "tessarine: %s: its source compiles to other bytes, from offset %zu on; the "
                   "values are the same\n",
                   options->file.c_str(), *decompiled.firstDifference);
  });
}

}  // namespace tessarine
