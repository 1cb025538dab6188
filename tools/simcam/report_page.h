// The parts that all reports are put together from.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "camera.h"
#include "report.h"

namespace simcam {

// Colours that stay apart for colour-blind readers (the set of Okabe and Ito). What they tell is
// told by the style of a line or the shape of a marker as well.
namespace color {
inline constexpr const char* kTruth = "#5f6670";
inline constexpr const char* kMeasured = "#0072b2";
inline constexpr const char* kConfidence = "#009e73";
inline constexpr const char* kWindows = "#2b86c0";  // rings around the line of kMeasured
inline constexpr const char* kWarn = "#d55e00";
}  // namespace color

std::string Page(const std::string& title, const std::string& subtitle, const std::string& body);
// What made the run fail, for the top of the page; empty without any.
std::string Failures(const std::vector<std::string>& failures);
// Something to know before the results are read; empty without a text.
std::string Notice(const std::string& text);
// A row of large numbers with what they mean.
std::string Cards(const std::vector<std::pair<std::string, std::string>>& cards);
// Figures side by side as far as there is room; each is an SVG with a line below it.
std::string Figures(const std::vector<std::pair<std::string, std::string>>& figures);
std::string Table(const std::string& caption, const std::vector<std::string>& head,
                  const std::vector<std::vector<std::string>>& rows);

// Where the tuning comes from.
std::string TuningName(const CameraSettings& settings);

// Names and values.
using Facts = std::vector<std::pair<std::string, std::string>>;

std::string WindowsText(int columns, int rows, bool isOverlapped, const PDLibWindow& roi);

// What camera was simulated.
Facts CameraFacts(const SensorDescription& sensor, const CameraSettings& settings);

// A table of names and values.
std::string FactTable(const std::string& caption, const Facts& facts);

// What a reader needs to repeat the run, folded until it is asked for: the command line, the
// version, `tables`, and all options in force.
std::string SettingsSection(const RunRecord& run, const std::string& tables);

// Windows over a picture. Each is outlined and marked by the sign of what was measured in it, and
// filled the more the further from 0 it is, never so much that the picture can't be seen.
struct Tiles {
  int columns = 1;
  int rows = 1;
  bool isMirrored = false;     // the picture against the windows, left to right
  bool isFlipped = false;      // top to bottom
  double fullColourPx = 12;    // the phase difference from which a tile is filled in full
  double labelHeight = 14.5;   // of the largest labels
  double confidentFrom = 100;  // windows up to this confidence are marked as not sure
};
std::string TileFigure(const std::string& pictureUri, int width, int height, const Tiles& tiles,
                       const std::vector<PDLibDefocusInfo>& windows);
// What the outlines and markers of a TileFigure stand for.
std::string TileKeys(double confidentFrom, double fullColourPx);
inline constexpr double kNearZeroPx = 0.5;  // up to here a phase difference is about 0

// The whole scene with the ROI drawn in.
std::string SceneFigure(const SensorDescription& sensor, const CameraSettings& settings);
// The ROI at a true phase difference, each window's place marked by what was measured in it.
std::string RoiFigure(const SensorDescription& sensor, const CameraSettings& settings,
                      double truePhasePx, const std::vector<PDLibDefocusInfo>& windows);

}  // namespace simcam
