// The command line of a tool with commands.
#pragma once

#include <CLI/CLI.hpp>
#include <optional>

namespace tool {

// Reads the command line and runs the command that it names; nothing means that it ran. Else the
// exit status: --help and --version (which it adds) are printed and done, a fault goes to standard
// error as wrong usage. A command or an option that isn't there names the nearest one.
std::optional<int> RunCommand(CLI::App& app, int argc, const char* const* argv);

}  // namespace tool
