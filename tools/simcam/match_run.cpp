#include "match_run.h"

#include <algorithm>
#include <cmath>

#include "camera.h"
#include "errors.h"
#include "shading.h"
#include "window_limits.h"
#include "window_samples.h"

namespace simcam {
namespace {

constexpr double kUnityGain = 1024;
// Samples are summed in 16 bits, up to 4 lines at full depth.
constexpr int kSmallestDepth = 8;

int DepthFor(const GreyPicture& picture, const MatchSettings& settings) {
  int depth = 16;
  for (int lines = settings.binning; lines > 1; lines /= 2) --depth;
  return std::clamp(picture.bits, kSmallestDepth, depth);
}

CalibrationLayout LayoutOf(const MatchSettings& settings, int width) {
  CalibrationLayout layout;
  layout.qFactor = 0;
  layout.gainMapWidth = std::min(layout.gainMapWidth, width - 1);
  if (settings.gains.empty()) return layout;
  layout.gainMapWidth = settings.gains.front().columns;
  layout.gainMapHeight = settings.gains.front().rows;
  return layout;
}

// The sensor that would have delivered the pictures: a site for each of their pixels.
SensorDescription SensorOf(const GreyPicture& picture, const MatchSettings& settings) {
  SensorDescription sensor;
  sensor.name = "pictures";
  sensor.imageWidth = sensor.blocksAcross = picture.width;
  sensor.imageHeight = sensor.blocksDown = picture.height;
  sensor.sensorType = kSensorDualPD1;
  sensor.pixelDepth = DepthFor(picture, settings);
  sensor.blackLevel = 0;
  sensor.native.width = sensor.native.height = 1;
  sensor.dual.emplace();
  sensor.buffer.firstWidth = 2 * picture.width;
  sensor.buffer.firstStride = 4 * picture.width;
  sensor.buffer.height = picture.height;
  sensor.calibration = LayoutOf(settings, picture.width);
  sensor.lens.codesPerPx = settings.defocusPerPx;
  TuningChoices& tuning = sensor.tuning;
  // The library stops one shift short of a negative limit.
  tuning.searchFrom = settings.searchFrom - (settings.searchFrom < 0 ? 1 : 0);
  tuning.searchTo = settings.searchTo;
  tuning.confIntegralWidth =
      std::min(tuning.confIntegralWidth, settings.searchTo - settings.searchFrom);
  tuning.verticalBinning = settings.binning;
  tuning.processingMode = 3;
  tuning.staticWeight = 1;
  tuning.gridOverlap = settings.isOverlapped && settings.columns * settings.rows > 1;
  tuning.peripheralWindows = false;
  return sensor;
}

void PutView(const SensorDescription& sensor, const GreyPicture& picture, Side side, int blackLevel,
             std::vector<uint8_t>& buffer) {
  const auto places = SamplePlaces(sensor);
  const SamplePlace& place = places[side == Side::kLeft ? 0 : 1];
  for (int y = 0; y < picture.height; ++y) {
    for (int x = 0; x < picture.width; ++x) {
      const double light = std::max(picture.At(x, y) - blackLevel, 0);
      const int code = static_cast<int>(std::ldexp(light, sensor.pixelDepth - picture.bits));
      PutSample(sensor, place, x, y, code, buffer);
    }
  }
}

_pdaf_cal_param_t CalibrationOf(const SensorDescription& sensor, const MatchSettings& settings) {
  _pdaf_cal_param_t calibration = MakeCalibration(sensor, Shading(sensor, 0));
  uint16_t* const maps[] = {calibration.Left_GainMap, calibration.Right_GainMap};
  for (size_t view = 0; view < settings.gains.size(); ++view)
    std::transform(
        settings.gains[view].gains.begin(), settings.gains[view].gains.end(), maps[view],
        [](double gain) { return static_cast<uint16_t>(std::lround(kUnityGain * gain)); });
  return calibration;
}

CameraSettings CameraOf(const MatchSettings& settings) {
  CameraSettings camera;
  camera.roi = settings.roi;
  camera.columns = static_cast<uint32_t>(settings.columns);
  camera.rows = static_cast<uint32_t>(settings.rows);
  return camera;
}

void CheckPair(const std::string& leftPath, const GreyPicture& left, const std::string& rightPath,
               const GreyPicture& right, const MatchSettings& settings) {
  if (left.width != right.width || left.height != right.height || left.bits != right.bits)
    throw InputError(rightPath + ": expected " + std::to_string(left.width) + " x " +
                     std::to_string(left.height) + " pixels of " + std::to_string(left.bits) +
                     " bits as in " + leftPath + ", found " + std::to_string(right.width) + " x " +
                     std::to_string(right.height) + " of " + std::to_string(right.bits));
  for (const GainMap& map : settings.gains)
    if (map.fieldBits != 0 && map.fieldBits != left.bits)
      throw InputError(leftPath + ": expected " + std::to_string(map.fieldBits) +
                       " bits as in the white fields, found " + std::to_string(left.bits));
  const std::string reason = WhyNothingToCompare(settings, left.width, left.height);
  if (!reason.empty()) throw InputError(leftPath + ": expected " + reason);
}

MatchWindow WindowAt(const MatchResult& result, int index, const PDLibDefocusInfo& measured) {
  const MatchSettings& settings = result.settings;
  const PDLibWindow place =
      ResultWindow(settings.roi, settings.columns, settings.rows, settings.isOverlapped, index);
  return {index / settings.columns, index % settings.columns,
          static_cast<double>(place.startX + place.endX) / 2 * result.left.width,
          static_cast<double>(place.startY + place.endY) / 2 * result.left.height, measured};
}

}  // namespace

bool IsAtEdge(const MatchSettings& settings, const PDLibDefocusInfo& measured) {
  // The library tries whole pixels and refines the best one by up to half of one, unless it is the
  // first or the last.
  constexpr double kHalf = 0.5;
  const double phase = static_cast<double>(measured.phaseDiff);
  return phase < settings.searchFrom + kHalf || phase > settings.searchTo - kHalf;
}

std::string EdgeWarning(const MatchResult& result) {
  const MatchSettings& settings = result.settings;
  const auto windows =
      std::count_if(result.windows.begin(), result.windows.end(),
                    [&](const MatchWindow& window) { return IsAtEdge(settings, window.measured); });
  if (windows == 0 && !IsAtEdge(settings, result.whole)) return "";
  return (windows == 0 ? "The whole ROI"
                       : std::to_string(windows) + " of " + std::to_string(result.windows.size()) +
                             " windows") +
         " matched best at the edge of the search range, " + std::to_string(settings.searchFrom) +
         " to " + std::to_string(settings.searchTo) +
         " pixels: the true phase difference may lie beyond it";
}

std::string WhyNothingToCompare(const MatchSettings& settings, int width, int height) {
  const int shared = settings.isOverlapped && settings.columns * settings.rows > 1 ? 1 : 0;
  const double across = static_cast<double>(settings.roi.endX - settings.roi.startX) * width;
  const double down = static_cast<double>(settings.roi.endY - settings.roi.startY) * height;
  const int needed = settings.searchTo - settings.searchFrom + 1 + kFewestSamples;
  const int neededLines = settings.binning + 2;
  if (across / (settings.columns + shared) < needed)
    return "at least " + std::to_string(needed) + " pixels for each of " +
           std::to_string(settings.columns + shared) +
           " columns of cells, the search range and some more; found " +
           std::to_string(static_cast<int>(across)) + " across the ROI";
  if (down / (settings.rows + shared) < neededLines)
    return "at least " + std::to_string(neededLines) + " lines for each of " +
           std::to_string(settings.rows + shared) + " rows of cells; found " +
           std::to_string(static_cast<int>(down)) + " down the ROI";
  if (!settings.gains.empty() && settings.gains.front().columns >= width)
    return "more columns of pixels than the gain map has entries";
  return "";
}

MatchResult RunMatch(const PdLibrary& library, const std::string& leftPath,
                     const std::string& rightPath, const MatchSettings& settings) {
  MatchResult result{leftPath, rightPath, LoadGreyPicture(leftPath), settings, {}, {}};
  const GreyPicture right = LoadGreyPicture(rightPath);
  CheckPair(leftPath, result.left, rightPath, right, settings);

  const SensorDescription sensor = SensorOf(result.left, settings);
  std::vector<uint8_t> buffer(sensor.buffer.Bytes());
  PutView(sensor, result.left, Side::kLeft, settings.blackLevel, buffer);
  PutView(sensor, right, Side::kRight, settings.blackLevel, buffer);

  CameraSession session(library, sensor, CalibrationOf(sensor, settings), 0, settings.logLevel);
  const FrameResult frame = ProcessFrame(session, CameraOf(settings), buffer, 0,
                                         {static_cast<uint32_t>(sensor.imageHeight)});
  if (!frame.isProcessed) throw DeviceError("the PD library failed on these pictures");
  for (int i = 0; i < settings.columns * settings.rows; ++i)
    result.windows.push_back(WindowAt(result, i, frame.output.defocusInfo[i]));
  result.whole = frame.Roi();
  return result;
}

}  // namespace simcam
