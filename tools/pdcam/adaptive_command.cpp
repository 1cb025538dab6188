// pdcam adaptive: what the file of a camera's learnt coefficients holds.
#include <algorithm>
#include <cstdio>
#include <map>

#include "adaptive_table.h"
#include "json_output.h"
#include "options.h"

namespace pdcam {
namespace {

using simcam::AdaptiveFile;
using simcam::AdaptiveHistory;
using simcam::AdaptiveMedians;

void PrintGrid(const char* direction, const AdaptiveMedians& medians) {
  std::printf("medians towards %s targets\n", direction);
  for (int row = 0; row < simcam::kAdaptiveRows; ++row) {
    for (int column = 0; column < simcam::kAdaptiveColumns; ++column)
      std::printf("%7d", medians[static_cast<size_t>(row * simcam::kAdaptiveColumns + column)]);
    std::printf("\n");
  }
}

void PrintHistory(const AdaptiveHistory& history) {
  for (int k : history) std::printf(" %6d", k);
}

bool IsOneValue(const AdaptiveFile& file, size_t cell) {
  const int k = file.near[cell][0];
  const auto is = [k](int entry) { return entry == k; };
  return std::all_of(file.near[cell].begin(), file.near[cell].end(), is) &&
         std::all_of(file.far[cell].begin(), file.far[cell].end(), is);
}

int Show(const std::string& path, bool isJson, int filterSize) {
  const AdaptiveFile file = simcam::LoadAdaptiveFile(path);
  if (isJson) {
    simcam::OrderedJson json = simcam::ToJson(file, filterSize);
    PrintJson(json);
    return kDone;
  }
  PrintAdaptiveMedians(file, filterSize);
  PrintAdaptiveHistories(file);
  return kDone;
}

int Check(const std::string& path) {
  const std::vector<std::string> lines = simcam::ImplausibleEntries(simcam::LoadAdaptiveFile(path));
  for (const std::string& line : lines) std::printf("%s\n", line.c_str());
  if (lines.empty()) std::printf("fine: all coefficients are above 0\n");
  return lines.empty() ? kDone : kCheckFailed;
}

}  // namespace

void PrintAdaptiveMedians(const AdaptiveFile& file, int filterSize) {
  PrintGrid("near", simcam::Medians(file.near, filterSize));
  PrintGrid("far", simcam::Medians(file.far, filterSize));
}

void PrintAdaptiveHistories(const AdaptiveFile& file) {
  std::map<int, int> cellsOfOneValue;
  std::printf("histories, newest first\n%4s %6s  %-34s  %s\n", "row", "column", "near", "far");
  for (size_t cell = 0; cell < simcam::kAdaptiveCells; ++cell) {
    if (IsOneValue(file, cell)) {
      ++cellsOfOneValue[file.near[cell][0]];
      continue;
    }
    std::printf("%4zu %6zu ", cell / simcam::kAdaptiveColumns, cell % simcam::kAdaptiveColumns);
    PrintHistory(file.near[cell]);
    std::printf(" ");
    PrintHistory(file.far[cell]);
    std::printf("\n");
  }
  for (const auto& [k, cells] : cellsOfOneValue) std::printf("%d cells hold %d alone\n", cells, k);
}

void AddAdaptiveCommand(CLI::App& app, int& status) {
  struct AdaptiveOptions {
    std::string path;
    bool isJson = false;
    int filterSize = simcam::kAdaptiveEntries;
  };
  const auto options = std::make_shared<AdaptiveOptions>();
  CLI::App* command =
      app.add_subcommand("adaptive", "Shows or checks a file of learnt coefficients");
  command->require_subcommand(1);
  command->footer(
      "Examples:\n"
      "  pdcam adaptive show pdlibdata0.bin\n"
      "  pdcam adaptive show pdlibdata0.bin --json\n"
      "  pdcam adaptive check pdlibdata0.bin");
  CLI::App* show = AddCommand(*command, "show", "Medians and histories of all cells");
  show->add_option("file", options->path, "The file, 960 bytes")->required();
  show->add_flag("--json", options->isJson, "As JSON");
  show->add_option("--filter-size", options->filterSize,
                   "Entries of a history that the median takes in")
      ->check(CLI::Range(1, simcam::kAdaptiveEntries));
  show->footer("Example:\n  pdcam adaptive show phone/var/cache/camera/pdlibdata0.bin");
  show->callback(
      [options, &status] { status = Show(options->path, options->isJson, options->filterSize); });
  CLI::App* check = AddCommand(
      *command, "check", "Exit status 1, and the places, if there are coefficients that can't be");
  check->add_option("file", options->path, "The file, 960 bytes")->required();
  check->footer("Example:\n  pdcam adaptive check phone/var/cache/camera/pdlibdata0.bin");
  check->callback([options, &status] { status = Check(options->path); });
}

}  // namespace pdcam
