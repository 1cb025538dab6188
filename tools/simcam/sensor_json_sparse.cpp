// Sensor descriptions with sparse PD pixels: the blocks of the image and of the buffer.
#include <algorithm>
#include <set>

#include "sensor_fields.h"
#include "sensor_json.h"

namespace simcam {
namespace {

int CountOfType(const Pattern& pattern, int type) {
  int count = 0;
  for (const PatternPixel& pixel : pattern.pixels) count += pixel.type == type;
  return count;
}

void CheckPatterns(const JsonNode& root, const SensorDescription& sensor) {
  const int pairs = static_cast<int>(sensor.native.pixels.size()) / 2;
  if (CountOfType(sensor.native, 0) != pairs)
    root.Fail("native.pixels", "expected as many pixels of type 0 as of type 1");
  if (sensor.buffer.first.pixels.size() != sensor.native.pixels.size())
    root.Fail("buffer.first_pattern.pixels", "expected as many entries as native.pixels, " +
                                                 std::to_string(sensor.native.pixels.size()) +
                                                 ", found " +
                                                 std::to_string(sensor.buffer.first.pixels.size()));
  if (CountOfType(sensor.buffer.first, 0) != pairs)
    root.Fail("buffer.first_pattern.pixels", "expected as many pixels of type 0 as of type 1");
  std::set<int> left;
  std::set<int> right;
  for (const PatternPixel& pixel : sensor.native.pixels)
    (pixel.type == 0 ? left : right).insert(pixel.x);
  if (left.size() != right.size())
    root.Fail("native.pixels", "expected as many columns of type 0 as of type 1, found " +
                                   std::to_string(left.size()) + " and " +
                                   std::to_string(right.size()));
}

void CheckGeometry(const JsonNode& root, const SensorDescription& sensor) {
  const Pattern& native = sensor.native;
  if (native.offsetX + sensor.blocksAcross * native.width > sensor.imageWidth)
    root.Fail("blocks", "expected blocks that end inside the image, " +
                            std::to_string(sensor.imageWidth) + " pixels wide");
  if (native.offsetY + sensor.blocksDown * native.height > sensor.imageHeight)
    root.Fail("blocks", "expected blocks that end inside the image, " +
                            std::to_string(sensor.imageHeight) + " pixels high");
  const BufferLayout& buffer = sensor.buffer;
  if (buffer.firstStride % 2 != 0 || buffer.firstStride < 2 * buffer.firstWidth)
    root.Fail("buffer.first_stride", "expected an even number of bytes, at least twice the width");
  if (buffer.Bytes() > kLargestBuffer) root.Fail("buffer", "expected at most 512 MiB");

  const int usedX = sensor.IsInFrame() ? buffer.first.offsetX : 0;
  const int usedY = sensor.IsInFrame() ? buffer.first.offsetY : 0;
  const int columns = sensor.HasTwoProcessors() ? sensor.SecondFirstBlock() : sensor.blocksAcross;
  if (usedX + columns * buffer.first.width > buffer.firstWidth)
    root.Fail("buffer.first_width", "expected at least " +
                                        std::to_string(usedX + columns * buffer.first.width) +
                                        " pixels for the blocks it holds");
  if (usedY + sensor.blocksDown * buffer.first.height > buffer.height)
    root.Fail("buffer.height", "expected at least " +
                                   std::to_string(usedY + sensor.blocksDown * buffer.first.height) +
                                   " lines for the blocks it holds");
}

void CheckSecondProcessor(const JsonNode& root, const SensorDescription& sensor) {
  if (!sensor.HasTwoProcessors()) return;
  const BufferLayout& buffer = sensor.buffer;
  if (!sensor.IsInFrame()) root.Fail("buffer.overlap", "expected 0 unless sensor_type is 3");
  if (buffer.secondStride % 2 != 0 || buffer.secondStride < 2 * buffer.secondWidth)
    root.Fail("buffer.second_stride", "expected an even number of bytes, at least twice the width");
  if (buffer.second.width != buffer.first.width || buffer.second.height != buffer.first.height)
    root.Fail("buffer.second_pattern.block", "expected the block of first_pattern");
  const int firstBlock = sensor.SecondFirstBlock();
  if (firstBlock < 0 || firstBlock > sensor.blocksAcross)
    root.Fail("buffer.second_image_x", "expected a column inside the PD area");
  const int expectedX =
      sensor.native.offsetX + firstBlock * sensor.native.width - buffer.secondImageX;
  if (buffer.second.offsetX != expectedX || buffer.second.offsetY != buffer.first.offsetY)
    root.Fail("buffer.second_pattern.offset",
              "expected [" + std::to_string(expectedX) + ", " +
                  std::to_string(buffer.first.offsetY) +
                  "], where the first block that only the second processor holds begins");
  const int blocks = sensor.blocksAcross - firstBlock;
  if (expectedX + blocks * buffer.second.width > buffer.secondWidth)
    root.Fail("buffer.second_width", "expected at least " +
                                         std::to_string(expectedX + blocks * buffer.second.width) +
                                         " pixels for the blocks it holds");
}

}  // namespace

std::vector<PatternPixel> ReadPixels(JsonNode& node, const std::string& field,
                                     const Pattern& pattern) {
  const std::string expected =
      "an even number of [x, y, type] entries, 2 to " + std::to_string(kLargestPattern);
  const Json& list = node.Get(field, expected);
  if (!list.is_array() || list.size() < 2 || list.size() > kLargestPattern || list.size() % 2 != 0)
    node.Fail(field, "expected " + expected + ", found " +
                         (list.is_array() ? std::to_string(list.size()) + " entries"
                                          : JsonNode::Text(list)));
  std::vector<PatternPixel> pixels;
  for (const Json& entry : list) {
    const std::string place = field + "[" + std::to_string(pixels.size()) + "]";
    const bool isFitting = entry.is_array() && entry.size() == 3 &&
                           JsonNode::IsInteger(entry[0], 0, pattern.width - 1) &&
                           JsonNode::IsInteger(entry[1], 0, pattern.height - 1) &&
                           JsonNode::IsInteger(entry[2], 0, 1);
    if (!isFitting)
      node.Fail(place, "expected [x, y, type] inside the block of " +
                           std::to_string(pattern.width) + " x " + std::to_string(pattern.height) +
                           ", type 0 or 1, found " + JsonNode::Text(entry));
    const PatternPixel pixel = {entry[0].get<int>(), entry[1].get<int>(), entry[2].get<int>()};
    const auto same = std::find_if(pixels.begin(), pixels.end(), [&](const PatternPixel& other) {
      return other.x == pixel.x && other.y == pixel.y;
    });
    if (same != pixels.end())
      node.Fail(place, "expected a pixel at a place of its own, found that of " + field + "[" +
                           std::to_string(same - pixels.begin()) + "] again, " +
                           JsonNode::Text(entry));
    pixels.push_back(pixel);
  }
  return pixels;
}

void CheckSparse(const JsonNode& root, const SensorDescription& sensor) {
  CheckPatterns(root, sensor);
  CheckGeometry(root, sensor);
  CheckSecondProcessor(root, sensor);
}

}  // namespace simcam
