// The parts that all reports are put together from.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "camera.h"
#include "report.h"

namespace simcam {

namespace color {
inline constexpr const char* kTruth = "#8a8f98";
inline constexpr const char* kMeasured = "#1f6fd0";
inline constexpr const char* kConfidence = "#2a9162";
inline constexpr const char* kWarn = "#c8502b";
}  // namespace color

std::string Page(const std::string& title, const std::string& subtitle, const std::string& body);
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

// Windows over a picture, each tile coloured by the phase difference that was measured in it, the
// more so the more certain it is.
struct Tiles {
  int columns = 1;
  int rows = 1;
  bool isMirrored = false;   // the picture against the windows, left to right
  bool isFlipped = false;    // top to bottom
  double fullColourPx = 12;  // the phase difference that is shown in full blue or red
  double fullOpacity = 0.26;
};
std::string TileFigure(const std::string& pictureUri, int width, int height, const Tiles& tiles,
                       const std::vector<PDLibDefocusInfo>& windows);
// What the colours of a TileFigure stand for.
std::string ColourScale(double fullColourPx, int width);

// The whole scene with the ROI drawn in.
std::string SceneFigure(const SensorDescription& sensor, const CameraSettings& settings);
// The ROI at a true phase difference, each window's place coloured by what was measured in it.
std::string RoiFigure(const SensorDescription& sensor, const CameraSettings& settings,
                      double truePhasePx, const std::vector<PDLibDefocusInfo>& windows);

}  // namespace simcam
