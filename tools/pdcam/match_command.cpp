// pdcam match: the two views of a real dual-PD sensor, window by window.
#include <cmath>
#include <cstdio>

#include "csv_output.h"
#include "errors.h"
#include "json_output.h"
#include "match_run.h"
#include "options.h"
#include "report.h"

namespace pdcam {
namespace {

using simcam::MatchResult;
using simcam::MatchWindow;

struct MatchOptions {
  std::string left;
  std::string right;
  std::string grid = "8x6";
  std::vector<double> roi = {0, 0, 1, 1};
  std::vector<int> searchRange = {-16, 16};
  std::string leftGains;
  std::string rightGains;
  std::string library;
  OutputOptions output;
  simcam::MatchSettings match;
};

void PrintTable(const MatchResult& result) {
  std::printf(
      "%s against %s, %d x %d pixels\nphase difference in pixels, positive where the right view "
      "lies to the right of the left\n",
      result.leftPath.c_str(), result.rightPath.c_str(), result.left.width, result.left.height);
  std::printf("%-9s %6s %7s %7s %9s %10s %10s %10s %8s\n", "row", "column", "x, px", "y, px",
              "phase, px", "confidence", "range low", "range high", "defocus");
  const auto print = [&](const PDLibDefocusInfo& measured) {
    std::printf(" %9.3f %10u %10d %10d %8d%s\n", static_cast<double>(measured.phaseDiff),
                measured.confidence, measured.rangeLow, measured.rangeHigh, measured.defocus,
                IsAtEdge(result.settings, measured) ? "  at the edge" : "");
  };
  for (const MatchWindow& window : result.windows) {
    std::printf("%-9d %6d %7.0f %7.0f", window.row, window.column, window.x, window.y);
    print(window.measured);
  }
  std::printf("%-9s %6s %7s %7s", "whole ROI", "", "", "");
  print(result.whole);
  const std::string edges = EdgeWarning(result);
  if (!edges.empty()) std::printf("%s\n", edges.c_str());
}

simcam::MatchSettings Settings(const MatchOptions& options) {
  simcam::MatchSettings settings = options.match;
  const GridSize grid = ParseGrid("--grid", options.grid);
  settings.columns = static_cast<int>(grid.columns);
  settings.rows = static_cast<int>(grid.rows);
  settings.roi = ParseRoi(options.roi);
  settings.searchFrom = options.searchRange[0];
  settings.searchTo = options.searchRange[1];
  if (settings.searchFrom > 0 || settings.searchTo < 0 || settings.searchFrom == settings.searchTo)
    throw CLI::ValidationError("--search-range", "expected a range around 0");
  if (!options.leftGains.empty())
    settings.gains =
        simcam::LoadGainMaps(options.leftGains, options.rightGains, settings.blackLevel);
  return settings;
}

int Run(const MatchOptions& options) {
  const simcam::MatchSettings settings = Settings(options);
  const Device device(options.library, "", settings.logLevel);
  const MatchResult result =
      simcam::RunMatch(device.Library(), options.left, options.right, settings);
  const OutputOptions& output = options.output;
  output.SaveCsv(MatchCsv(result));
  output.SaveReport(MatchReport(result, output.Record()));
  if (output.isJson)
    PrintJson(ToJson(result));
  else
    PrintTable(result);
  return kDone;
}

}  // namespace

void AddMatchCommand(CLI::App& app, int& status) {
  const auto options = std::make_shared<MatchOptions>();
  CLI::App* command = AddCommand(
      app, "match", "Compares two pictures, the left and the right view of a real dual-PD sensor");
  command->add_option("left", options->left, "The left view: PGM or PNG of 8 or 16 bits")
      ->required();
  command->add_option("right", options->right, "The right view, of the same size and depth")
      ->required();
  command->add_option("--grid", options->grid, "Grid of result windows, columns x rows");
  command
      ->add_flag("--overlap,!--no-overlap", options->match.isOverlapped,
                 "Let windows overlap by half, as they do unless told otherwise")
      ->default_str("on");
  command->add_option("--roi", options->roi, "Left, top, right and bottom of the ROI, 0 to 1")
      ->expected(4)
      ->check(Between(0.0, 1.0));
  command
      ->add_option("--search-range", options->searchRange,
                   "First and last phase difference that is tried, pixels")
      ->expected(2)
      ->check(CLI::Range(-100, 100));
  command->add_option("--black-level", options->match.blackLevel, "Code of black in the pictures")
      ->check(CLI::Range(0, 65535));
  CLI::Option* left =
      command
          ->add_option("--left-gains", options->leftGains,
                       "What the left view is multiplied by, 0.1 to 3.99: JSON or CSV, a row of "
                       "numbers for each row "
                       "of a map that covers the picture; or a picture of a white field")
          ->default_str("none");
  CLI::Option* right =
      command->add_option("--right-gains", options->rightGains, "The same of the right view")
          ->default_str("none");
  left->needs(right);
  right->needs(left);
  command->add_option("--binning", options->match.binning, "Lines that are added up first")
      ->check(CLI::IsMember({1, 2, 4, 8, 16}));
  command
      ->add_option("--defocus-per-px", options->match.defocusPerPx,
                   "Conversion from phase difference to defocus")
      ->check(CLI::Range(1, 1000));
  AddLibraryTo(*command, options->library);
  command
      ->add_option("--log-level", options->match.logLevel,
                   "Lines of the library on standard error: 1 info, 2 verbose")
      ->check(CLI::Range(0, 3));
  options->output.AddTo(*command);
  command->footer(
      "A phase difference is positive where the right view lies to the right of the left one: "
      "what\n"
      "stands at x in LEFT stands at x + phase in RIGHT.\n\n"
      "Examples:\n"
      "  pdcam match left.pgm right.pgm --report match.html\n"
      "  pdcam match left.png right.png --grid 12x8 --search-range -8 8 --json\n"
      "  pdcam match left.pgm right.pgm --black-level 64 --left-gains l.json --right-gains r.json");
  command->callback([options, &status] { status = Run(*options); });
}

}  // namespace pdcam
