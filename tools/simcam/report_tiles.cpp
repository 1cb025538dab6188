// Pictures with windows drawn over them.
#include <algorithm>
#include <cmath>

#include "picture.h"
#include "report_page.h"
#include "text.h"

namespace simcam {
namespace {

constexpr int kFigureWidth = 400;
constexpr int kPixelsPerUnit = 2;          // of the pictures, for fine screens
constexpr double kSmallestLabel = 8;       // units of the drawing, as are all below
constexpr double kConfidenceShare = 0.75;  // its label's height over that of the phase difference
constexpr double kLabelLetterWidth = 0.6;  // of a label's height

// What a window says at a glance: by colour, by the line around it, and by a marker's shape.
struct Look {
  const char* colour;
  const char* dashes;
  const char* marker;  // a path around the origin, within 1 of it
  const char* meaning;
};

constexpr Look kPositive = {color::kWarn, "", "M-0.7,-1 L1,0 L-0.7,1 Z", "positive"};
constexpr Look kNegative = {color::kMeasured, "9 5", "M0.7,-1 L-1,0 L0.7,1 Z", "negative"};
constexpr Look kNearZero = {color::kConfidence, "2 3",
                            "M-0.8,0 A0.8,0.8 0 1 0 0.8,0 A0.8,0.8 0 1 0 -0.8,0 Z", "about 0"};
constexpr Look kUnsure = {"#5f6670", "1 6",
                          "M-1,-0.6 L-0.6,-1 L0,-0.4 L0.6,-1 L1,-0.6 L0.4,0 L1,0.6 L0.6,1 L0,0.4 "
                          "L-0.6,1 L-1,0.6 L-0.4,0 Z",
                          "not sure"};

const Look& LookOf(const Tiles& tiles, const PDLibDefocusInfo& window) {
  const double phase = static_cast<double>(window.phaseDiff);
  if (window.confidence <= tiles.confidentFrom) return kUnsure;
  if (std::abs(phase) <= kNearZeroPx) return kNearZero;
  return phase > 0 ? kPositive : kNegative;
}

std::string Picture(const std::string& uri, int width, int height) {
  return "<image href=\"" + uri + "\" width=\"" + std::to_string(width) + "\" height=\"" +
         std::to_string(height) + "\" preserveAspectRatio=\"none\"/>\n";
}

std::string SvgOpen(int width, int height, const std::string& label) {
  return "<svg viewBox=\"0 0 " + std::to_string(width) + " " + std::to_string(height) +
         "\" role=\"img\" aria-label=\"" + label + "\">\n";
}

// A line on any picture: coloured, on a white one that is wider.
std::string Outline(double x, double y, double width, double height, const char* colour,
                    const std::string& dashes) {
  // Of small tiles a thick one would hide the picture.
  const double thickness = std::clamp(std::min(width, height) / 35, 0.8, 2.0);
  const std::string rect = "<rect x=\"" + Fixed(x, 1) + "\" y=\"" + Fixed(y, 1) + "\" width=\"" +
                           Fixed(width, 1) + "\" height=\"" + Fixed(height, 1) +
                           "\" fill=\"none\" ";
  return rect + "stroke=\"#fff\" stroke-opacity=\"0.8\" stroke-width=\"" +
         Fixed(1.8 * thickness, 1) + "\"/>\n" + rect + "stroke=\"" + colour + "\" stroke-width=\"" +
         Fixed(thickness, 1) + "\" stroke-dasharray=\"" + dashes + "\"/>\n";
}

std::string Marker(double x, double y, double size, const Look& look) {
  return std::string("<path d=\"") + look.marker + "\" transform=\"translate(" + Fixed(x, 1) + " " +
         Fixed(y, 1) + ") scale(" + Fixed(size, 2) + ")\" fill=\"" + look.colour +
         "\" stroke=\"#fff\" stroke-width=\"0.5\" paint-order=\"stroke\"/>\n";
}

// A text in the middle of a tile, as large as fits; none where it couldn't be read.
std::string LabelIn(double width, double height, double x, double y, double largest,
                    const std::string& text) {
  const double letters = static_cast<double>(text.size());
  const double size =
      std::min({largest, (width - 8) / (letters * kLabelLetterWidth), (height - 8) / 1.2});
  if (size < kSmallestLabel) return "";
  return "<text class=\"label\" text-anchor=\"middle\" style=\"font-size:" + Fixed(size, 1) +
         "px\" x=\"" + Fixed(x, 1) + "\" y=\"" + Fixed(y + size / 3, 1) + "\">" + text +
         "</text>\n";
}

std::string Signed(double value, int digits) {
  const std::string text = Fixed(value, digits);
  return value > 0 && text.find_first_not_of("0.") != std::string::npos ? "+" + text : text;
}

struct Cell {
  double x, y, width, height;
};

std::string Tile(const Cell& cell, const Tiles& tiles, const PDLibDefocusInfo& window) {
  const Look& look = LookOf(tiles, window);
  const double phase = static_cast<double>(window.phaseDiff);
  const double inset = std::min(2.5, cell.width / 10);
  const double share = std::min(std::abs(phase) / tiles.fullColourPx, 1.0);
  const double opacity = &look == &kUnsure || &look == &kNearZero ? 0 : 0.22 * share;
  std::string svg = "<g><title>" + Signed(phase, 2) + " px, confidence " +
                    std::to_string(window.confidence) + "</title>\n<rect x=\"" + Fixed(cell.x, 1) +
                    "\" y=\"" + Fixed(cell.y, 1) + "\" width=\"" + Fixed(cell.width, 1) +
                    "\" height=\"" + Fixed(cell.height, 1) + "\" fill=\"" + look.colour +
                    "\" fill-opacity=\"" + Fixed(opacity, 2) + "\"/>\n";
  svg += Outline(cell.x + inset, cell.y + inset, cell.width - 2 * inset, cell.height - 2 * inset,
                 look.colour, look.dashes);
  const double size = std::min({6.0, cell.width / 5, cell.height / 5});
  const double middle = cell.x + cell.width / 2;
  const double half = cell.height / 2;
  const std::string sure =
      LabelIn(cell.width, half - 6, middle, cell.y + half + half / 3,
              kConfidenceShare * tiles.labelHeight, "conf. " + std::to_string(window.confidence));
  svg += Marker(cell.x + inset + 1.6 * size, cell.y + inset + 1.6 * size, size, look);
  svg += LabelIn(cell.width, sure.empty() ? cell.height : half, middle,
                 cell.y + (sure.empty() ? half : half - half / 6), tiles.labelHeight,
                 Signed(phase, 2));
  return svg + sure + "</g>\n";
}

// The ROI in the scene as it lies before the lens: a mirrored readout sees it from the other side.
PDLibWindow RoiInScene(const SensorDescription& sensor, PDLibWindow roi) {
  if (sensor.IsMirrored()) roi = {1 - roi.endX, roi.startY, 1 - roi.startX, roi.endY};
  if (sensor.IsFlipped()) roi = {roi.startX, 1 - roi.endY, roi.endX, 1 - roi.startY};
  return roi;
}

}  // namespace

std::string TileFigure(const std::string& pictureUri, int width, int height, const Tiles& tiles,
                       const std::vector<PDLibDefocusInfo>& windows) {
  std::string svg = SvgOpen(width, height, "the windows over the picture, marked by result") +
                    Picture(pictureUri, width, height);
  const double cellWidth = static_cast<double>(width) / tiles.columns;
  const double cellHeight = static_cast<double>(height) / tiles.rows;
  for (size_t i = 0; i < windows.size(); ++i) {
    const int column = static_cast<int>(i) % tiles.columns;
    const int row = static_cast<int>(i) / tiles.columns;
    const Cell cell = {(tiles.isMirrored ? tiles.columns - 1 - column : column) * cellWidth,
                       (tiles.isFlipped ? tiles.rows - 1 - row : row) * cellHeight, cellWidth,
                       cellHeight};
    svg += Tile(cell, tiles, windows[i]);
  }
  return svg + "</svg>\n";
}

std::string TileKeys(double confidentFrom, double fullColourPx) {
  std::string html = "<ul class=\"keys\">\n";
  for (const Look* look : {&kPositive, &kNegative, &kNearZero, &kUnsure}) {
    std::string meaning = look->meaning;
    if (look == &kPositive || look == &kNegative)
      meaning += ", fullest at " + Fixed(fullColourPx, 1) + " px";
    if (look == &kNearZero) meaning += ", up to " + Short(kNearZeroPx) + " px";
    if (look == &kUnsure) meaning += ", confidence up to " + Short(confidentFrom);
    html += "<li><svg viewBox=\"0 0 26 18\" aria-hidden=\"true\">" +
            Outline(2, 2, 22, 14, look->colour, look->dashes) + Marker(13, 9, 4, *look) + "</svg>" +
            EscapeHtml(meaning) + "</li>\n";
  }
  return html + "</ul>\n";
}

std::string SceneFigure(const SensorDescription& sensor, const CameraSettings& settings) {
  const int height = kFigureWidth * sensor.imageHeight / sensor.imageWidth;
  const PDLibWindow roi = RoiInScene(sensor, settings.roi);
  const auto place = [](float share, int size) { return static_cast<double>(share) * size; };
  return SvgOpen(kFigureWidth, height, "the scene with the ROI") +
         Picture(ScenePicture(sensor, settings, kFigureWidth * kPixelsPerUnit), kFigureWidth,
                 height) +
         Outline(place(roi.startX, kFigureWidth), place(roi.startY, height),
                 place(roi.endX - roi.startX, kFigureWidth), place(roi.endY - roi.startY, height),
                 color::kWarn, "") +
         "</svg>\n";
}

std::string RoiFigure(const SensorDescription& sensor, const CameraSettings& settings,
                      double truePhasePx, const std::vector<PDLibDefocusInfo>& windows) {
  const PDLibWindow& roi = settings.roi;
  const double shape = static_cast<double>((roi.endY - roi.startY)) * sensor.imageHeight /
                       (static_cast<double>(roi.endX - roi.startX) * sensor.imageWidth);
  const int height = std::max(static_cast<int>(kFigureWidth * shape), 16);
  Tiles tiles{static_cast<int>(settings.columns), static_cast<int>(settings.rows),
              sensor.IsMirrored(), sensor.IsFlipped()};
  tiles.confidentFrom = sensor.tuning.defocusConfidenceThreshold;
  return TileFigure(RoiPicture(sensor, settings, truePhasePx, kFigureWidth * kPixelsPerUnit),
                    kFigureWidth, height, tiles, windows);
}

}  // namespace simcam
