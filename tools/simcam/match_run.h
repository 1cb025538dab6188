// Two pictures, the views of a real dual-PD sensor, through the PD library.
#pragma once

#include <string>
#include <vector>

#include "pd_library.h"
#include "picture_file.h"

namespace simcam {

// What each part of a view is multiplied by, row by row; the corners are the picture's.
struct GainMap {
  int columns = 0;
  int rows = 0;
  std::vector<double> gains;
};

struct MatchSettings {
  PDLibWindow roi{0, 0, 1, 1};
  int columns = 8;  // grid of result windows
  int rows = 6;
  bool isOverlapped = true;
  int searchFrom = -16;  // pixels
  int searchTo = 16;
  int blackLevel = 0;          // codes of the pictures
  int binning = 4;             // lines that are added up before they are compared
  int defocusPerPx = 12;       // the calibration's coefficient
  std::vector<GainMap> gains;  // of the left and the right view, of one size; or none
  uint32_t logLevel = 0;
};

struct MatchWindow {
  int row = 0;
  int column = 0;
  double x = 0;  // its middle, pixels
  double y = 0;
  // The phase difference in pixels: positive where the right view lies to the right of the left.
  PDLibDefocusInfo measured{};
};

struct MatchResult {
  std::string leftPath;
  std::string rightPath;
  GreyPicture left;
  MatchSettings settings;
  std::vector<MatchWindow> windows;  // row by row
  PDLibDefocusInfo whole{};          // the ROI as one window
};

// Why the library could compare nothing in windows of a picture of this size with these settings;
// empty if it can.
std::string WhyNothingToCompare(const MatchSettings& settings, int width, int height);

// Throws InputError when the pictures don't go together, DeviceError when the library fails.
MatchResult RunMatch(const PdLibrary& library, const std::string& leftPath,
                     const std::string& rightPath, const MatchSettings& settings);

// A file of gains: JSON or CSV with a row of numbers for each row of the map; or a PGM or PNG of a
// white field, from which the gains are worked out. `name` is that of the file. Throws InputError.
GainMap LoadGainMap(const std::string& path);

}  // namespace simcam
