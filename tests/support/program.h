// Programs as users start them.
#pragma once

#include <stdio.h>
#include <sys/wait.h>

#include <fstream>
#include <sstream>
#include <string>

namespace test {

struct Outcome {
  int status;  // -1: a signal ended it
  std::string output;
  std::string errors;
};

inline std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream content;
  content << file.rdbuf();
  return content.str();
}

// What goes to standard error passes through the file `errors`.
inline Outcome RunProgram(const std::string& program, const std::string& arguments,
                          const std::string& errors) {
  const std::string command =
      std::string(PDLIB_LAUNCHER) + " " + program + " " + arguments + " 2>" + errors;
  FILE* pipe = popen(command.c_str(), "r");
  Outcome outcome{};
  char part[4096];
  for (size_t size; (size = fread(part, 1, sizeof(part), pipe)) > 0;)
    outcome.output.append(part, size);
  const int status = pclose(pipe);
  outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  outcome.errors = ReadFile(errors);
  return outcome;
}

}  // namespace test
