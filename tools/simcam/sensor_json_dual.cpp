// Sensor descriptions with a sample of each view at every site.
#include "sensor_json.h"

namespace simcam {
namespace {

constexpr int kLargestShift = 127;  // sites, as the library stores them

// Bytes that the samples of a line take.
int LineBytes(const SensorDescription& sensor) {
  switch (sensor.dual->packing) {
    case SamplePacking::kBytes: return 2 * sensor.blocksAcross;
    case SamplePacking::kPacked10: return (sensor.blocksAcross + 1) / 2 * 5;
    case SamplePacking::kWords: break;
  }
  return 4 * sensor.blocksAcross;
}

void CheckPacking(const JsonNode& root, const SensorDescription& sensor) {
  const DualLayout& dual = *sensor.dual;
  if (dual.packing == SamplePacking::kBytes && sensor.pixelDepth != 8)
    root.Fail("pixel_depth", "expected 8 for samples of a byte");
  if (dual.packing == SamplePacking::kPacked10 && sensor.pixelDepth != 10)
    root.Fail("pixel_depth", "expected 10 for packed samples");
  if (sensor.buffer.firstStride < LineBytes(sensor))
    root.Fail("dual.stride", "expected at least " + std::to_string(LineBytes(sensor)) +
                                 " bytes, what the samples of a line take");
  if (dual.packing == SamplePacking::kWords && sensor.buffer.firstStride % 2 != 0)
    root.Fail("dual.stride", "expected an even number of bytes");
  if (sensor.buffer.Bytes() > kLargestBuffer) root.Fail("dual.stride", "expected at most 512 MiB");
}

void CheckAxis(const JsonNode& root, const SensorDescription& sensor) {
  const bool isVertical = sensor.HasVerticalViews();
  if (isVertical && (sensor.dual->packing != SamplePacking::kWords || sensor.IsHdr() ||
                     sensor.dual->isRightFirst || sensor.orientation != Orientation::kDefault))
    root.Fail("dual.axis",
              "expected 'horizontal' unless samples are words of one exposure, read out straight "
              "and with the upper one (left-first) first");
  const int mapSide =
      isVertical ? sensor.calibration.gainMapHeight : sensor.calibration.gainMapWidth;
  if (mapSide >= (isVertical ? sensor.blocksDown : sensor.blocksAcross))
    root.Fail("calibration.gain_map", "expected fewer entries along the views than sites");
}

void CheckOffset(const JsonNode& root, const SensorDescription& sensor) {
  if (!sensor.dual->offset) return;
  // A flipped readout has the library turn its own copy of the map at every window.
  if (sensor.orientation != Orientation::kDefault)
    root.Fail("dual.offset", "expected nothing unless orientation is 'default'");
  if (sensor.pdOffsetCorrection != 0)
    root.Fail("pd_offset_correction", "expected 0 beside dual.offset, which replaces it");
}

void CheckTuning(const JsonNode& root, const SensorDescription& sensor) {
  const TuningChoices& tuning = sensor.tuning;
  if (sensor.MaxCode() * tuning.verticalBinning > 0xffff)
    root.Fail("tuning.vertical_binning", "expected a sum of samples that fits 16 bits");
  const int farthest =
      kLargestShift * (sensor.HasVerticalViews() ? sensor.native.height : sensor.native.width);
  if (tuning.searchFrom < -farthest || tuning.searchTo > farthest)
    root.Fail("tuning.search_range", "expected at most " + std::to_string(farthest) +
                                         " pixels to either side, " +
                                         std::to_string(kLargestShift) + " sites");
}

}  // namespace

void CompleteDual(SensorDescription& sensor) {
  const Pattern& site = sensor.native;
  sensor.blocksAcross = sensor.imageWidth / site.width;
  sensor.blocksDown = sensor.imageHeight / site.height;
  sensor.buffer.first.width = 2;
  sensor.buffer.first.height = 1;
  sensor.buffer.firstWidth = 2 * sensor.blocksAcross;
  sensor.buffer.height = sensor.blocksDown;
  if (sensor.buffer.firstStride == 0) sensor.buffer.firstStride = LineBytes(sensor);
}

void CheckDual(const JsonNode& root, const SensorDescription& sensor) {
  if (sensor.blocksAcross * sensor.native.width != sensor.imageWidth ||
      sensor.blocksDown * sensor.native.height != sensor.imageHeight)
    root.Fail("dual.site", "expected sites that cover the image without a rest");
  CheckPacking(root, sensor);
  CheckAxis(root, sensor);
  CheckOffset(root, sensor);
  CheckTuning(root, sensor);
}

}  // namespace simcam
