#include "common/command_line.h"

#include <gtest/gtest.h>

namespace {

struct Outcome {
  std::optional<int> status;
  std::string output, errors;
};

Outcome RunTool(std::vector<const char*> words) {
  CLI::App app("A tool.", "tool");
  app.require_subcommand(1);
  std::string file, mode;
  CLI::App* show = app.add_subcommand("show", "Shows");
  show->add_option("file", file)->required();
  show->add_option("--mode", mode);
  show->add_option("-o,--output", mode)->required();
  CLI::App* link = app.add_subcommand("link", "Links");
  link->require_subcommand(1);
  link->add_subcommand("watch", "Watches");
  words.insert(words.begin(), "tool");
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  Outcome outcome;
  outcome.status = tool::RunCommand(app, static_cast<int>(words.size()), words.data());
  outcome.output = testing::internal::GetCapturedStdout();
  outcome.errors = testing::internal::GetCapturedStderr();
  return outcome;
}

TEST(CommandLine, NamesWhatWasMeant) {
  using Case = std::tuple<std::vector<const char*>, const char*>;
  const Case cases[] = {
      {{"shwo", "x"}, "tool: there is no command 'shwo'; did you mean 'show'?\n"},
      {{"zebra"}, "tool: there is no command 'zebra'; expected one of show, link\n"},
      {{"link", "wach"}, "tool: there is no command 'wach'; did you mean 'watch'?\n"},
      {{"link"}, "subcommand is required"},
      {{"show", "x", "--moed", "y", "-o", "z"},
       "tool: there is no option '--moed'; did you mean '--mode'?\n"},
      // An option that is missing was perhaps misspelt.
      {{"show", "x", "--outptu=y"}, "there is no option '--outptu'; did you mean '--output'?\n"},
      {{"show", "x", "--zebra", "-o", "z"}, "there is no option '--zebra'\n"},
      {{"--verison"}, "there is no option '--verison'; did you mean '--version'?\n"},
      {{"show", "x"}, "--output is required\nRun with --help for more information.\n"},
      {{"show", "x", "y", "-o", "z"}, "not expected: y\n"}};
  for (const auto& [words, fault] : cases) {
    const Outcome outcome = RunTool(words);
    EXPECT_EQ(outcome.status, 2) << fault;
    EXPECT_NE(outcome.errors.find(fault), std::string::npos) << outcome.errors;
    EXPECT_EQ(outcome.output, "");
  }
}

TEST(CommandLine, RunsTellsHelpAndVersion) {
  EXPECT_FALSE(RunTool({"show", "x", "-o", "z"}).status);
  const Outcome version = RunTool({"--version"});
  EXPECT_EQ(version.status, 0);
  EXPECT_EQ(version.output, "tool " PDLIB_VERSION "\n");
  const Outcome help = RunTool({"show", "--help"});
  EXPECT_EQ(help.status, 0);
  EXPECT_NE(help.output.find("--mode"), std::string::npos);
}

}  // namespace
