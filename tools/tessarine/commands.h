// The commands of the program.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

#include "common/exit_status.h"
#include "file_reader.h"

namespace tessarine {

// Exit status.
inline constexpr int kDone = tool::kDone;
inline constexpr int kFound = tool::kFound;  // a defect or a difference
inline constexpr int kWrongUsage = tool::kWrongUsage;
inline constexpr int kBadInput = tool::kBadFile;
inline constexpr int kNoConnection = tool::kNoDevice;  // no connection to a device, or no answer

// A tuning file, or what a source compiles to, whose values can be used; its defects, and what is
// never served, go to standard error. Throws InputError if nothing can be read of it.
FileReading LoadFile(const std::string& path);
// The same of a tuning file without any defect. Throws InputError with all of them.
Model LoadSoundFile(const std::string& path, Bytes& bytes);

// Each adds its options and, when it is the one asked for, runs and sets `status`.
void AddCompileCommand(CLI::App& app, int& status);
void AddDecompileCommand(CLI::App& app, int& status);
void AddShowCommand(CLI::App& app, int& status);
void AddDiffCommand(CLI::App& app, int& status);
void AddCheckCommand(CLI::App& app, int& status);
void AddSchemaCommands(CLI::App& app, int& status);
void AddServeCommand(CLI::App& app, int& status);
void AddLinkCommand(CLI::App& app, int& status);

}  // namespace tessarine
