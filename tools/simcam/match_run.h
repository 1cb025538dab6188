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
  int fieldBits = 0;  // depth of the white field it was worked out from; 0: there was none
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

// Whether what was measured lies at an end of the search range, so that the best match may lie
// beyond it.
bool IsAtEdge(const MatchSettings& settings, const PDLibDefocusInfo& measured);

struct MatchResult {
  std::string leftPath;
  std::string rightPath;
  GreyPicture left;
  MatchSettings settings;
  std::vector<MatchWindow> windows;  // row by row
  PDLibDefocusInfo whole{};          // the ROI as one window
};

// What a reader must know of the windows at an end of the search range; empty if there are none.
std::string EdgeWarning(const MatchResult& result);

// Why the library could compare nothing in windows of a picture of this size with these settings;
// empty if it can.
std::string WhyNothingToCompare(const MatchSettings& settings, int width, int height);

// Throws InputError when the pictures don't go together, DeviceError when the library fails.
MatchResult RunMatch(const PdLibrary& library, const std::string& leftPath,
                     const std::string& rightPath, const MatchSettings& settings);

// The gains of the left and the right view from two files of one kind: JSON or CSV with a row of
// numbers for each row of the map; or PGM or PNG pictures of a white field, from which they are
// worked out. Black is that of the fields, which are of the pictures' depth. Throws InputError.
std::vector<GainMap> LoadGainMaps(const std::string& leftPath, const std::string& rightPath,
                                  int blackLevel);

}  // namespace simcam
