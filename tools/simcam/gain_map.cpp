// Files of gains for the views of two pictures.
#include <algorithm>
#include <charconv>
#include <fstream>
#include <iterator>

#include "base/pdlib_common.h"
#include "errors.h"
#include "json_node.h"
#include "match_run.h"
#include "text.h"

namespace simcam {
namespace {

// A sample of the highest code keeps within the library's 16 bits up to four times its height.
constexpr double kSmallestGain = 0.1;
constexpr double kLargestGain = 3.99;
// Entries into which a white field is divided.
constexpr int kFieldColumns = 17;
constexpr int kFieldRows = 13;

void AddRow(const std::vector<double>& row, const std::string& where, GainMap& map) {
  if (map.columns == 0) map.columns = static_cast<int>(row.size());
  if (row.size() != static_cast<size_t>(map.columns))
    throw InputError(where + ": expected " + std::to_string(map.columns) +
                     " gains as in the first row, found " + std::to_string(row.size()));
  for (double gain : row)
    if (!(gain >= kSmallestGain && gain <= kLargestGain))
      throw InputError(where + ": expected gains from " + Short(kSmallestGain) + " to " +
                       Short(kLargestGain) + ", found " + Short(gain));
  map.gains.insert(map.gains.end(), row.begin(), row.end());
  ++map.rows;
}

GainMap FromJson(const std::string& text, const std::string& path) {
  const Json json = ParseJson(text, path);
  GainMap map;
  for (const Json& row : json) {
    const std::string where = path + ": row " + std::to_string(map.rows);
    std::vector<double> gains;
    if (!row.is_array())
      throw InputError(where + ": expected an array of gains, found " + JsonNode::Text(row));
    for (const Json& gain : row) {
      if (!gain.is_number())
        throw InputError(where + ": expected a number, found " + JsonNode::Text(gain));
      gains.push_back(gain.get<double>());
    }
    AddRow(gains, where, map);
  }
  return map;
}

std::vector<double> CsvRow(const std::string& line, const std::string& where) {
  std::vector<double> gains;
  const char* at = line.data();
  const char* end = at + line.size();
  while (true) {
    while (at != end && *at == ' ') ++at;
    double gain = 0;
    const auto read = std::from_chars(at, end, gain);
    if (read.ec != std::errc())
      throw InputError(where + ": expected numbers with commas between them, found " + line);
    gains.push_back(gain);
    at = read.ptr;
    while (at != end && (*at == ' ' || *at == '\r')) ++at;
    if (at == end) return gains;
    if (*at++ != ',')
      throw InputError(where + ": expected numbers with commas between them, found " + line);
  }
}

GainMap FromCsv(const std::string& text, const std::string& path) {
  GainMap map;
  for (size_t begin = 0; begin < text.size();) {
    const size_t end = std::min(text.find('\n', begin), text.size());
    const std::string where = path + ": line " + std::to_string(map.rows + 1);
    AddRow(CsvRow(text.substr(begin, end - begin), where), where, map);
    begin = end + 1;
  }
  return map;
}

// The light of a white field above black, as a map of gains is laid out: rows are bands of lines,
// columns places from edge to edge between which the library interpolates.
struct FieldLight {
  int bits = 0;
  std::vector<double> codes;
};

// The mean above black of the field's lines y0 to y1 - 1 between two of its columns.
double MeanLight(const GreyPicture& field, int x0, int x1, int y0, int y1, int blackLevel) {
  double sum = 0;
  for (int y = y0; y < y1; ++y)
    for (int x = x0; x < x1; ++x) sum += field.At(x, y);
  return sum / ((x1 - x0) * (y1 - y0)) - blackLevel;
}

FieldLight LoadField(const std::string& path, int blackLevel) {
  const GreyPicture field = LoadGreyPicture(path);
  if (field.width < 2 * kFieldColumns || field.height < kFieldRows)
    throw InputError(path + ": expected a white field of at least " +
                     std::to_string(2 * kFieldColumns) + " x " + std::to_string(kFieldRows) +
                     " pixels");
  // Columns divide the width into intervals; a column stands for half of one to each side.
  constexpr int kHalves = 2 * (kFieldColumns - 1);
  FieldLight light{field.bits, {}};
  for (int row = 0; row < kFieldRows; ++row) {
    std::vector<double> means;
    for (int column = 0; column < kFieldColumns; ++column)
      means.push_back(MeanLight(field, std::max(2 * column - 1, 0) * field.width / kHalves,
                                std::min(2 * column + 1, kHalves) * field.width / kHalves,
                                row * field.height / kFieldRows,
                                (row + 1) * field.height / kFieldRows, blackLevel));
    // The first and the last see one side only: their means stand a quarter of an interval inside.
    const auto atEdge = [](double edge, double next) { return edge + (edge - next) / 3; };
    const double first = atEdge(means[0], means[1]);
    means.back() = atEdge(means.back(), means[kFieldColumns - 2]);
    means.front() = first;
    light.codes.insert(light.codes.end(), means.begin(), means.end());
  }
  return light;
}

// What each part of a field lacks to the reference, which is one for both views: gains that made
// each view as bright as its own brightest place would lose the ratio of the two.
GainMap FromField(const FieldLight& light, double reference, const std::string& path) {
  GainMap map;
  map.columns = kFieldColumns;
  map.rows = kFieldRows;
  map.fieldBits = light.bits;
  for (double codes : light.codes) {
    if (codes * kLargestGain < reference)
      throw InputError(path + ": white field: expected at least a quarter of the light at the " +
                       "brightest place of both fields, " + Short(reference) +
                       " codes above black, found " + Short(codes));
    map.gains.push_back(reference / codes);
  }
  return map;
}

std::vector<GainMap> FromFields(const std::string& leftPath, const std::string& rightPath,
                                int blackLevel) {
  const FieldLight left = LoadField(leftPath, blackLevel);
  const FieldLight right = LoadField(rightPath, blackLevel);
  if (left.bits != right.bits)
    throw InputError(rightPath + ": expected a white field of " + std::to_string(left.bits) +
                     " bits as in " + leftPath + ", found " + std::to_string(right.bits));
  const double reference = std::max(*std::max_element(left.codes.begin(), left.codes.end()),
                                    *std::max_element(right.codes.begin(), right.codes.end()));
  if (reference <= 0)
    throw InputError(leftPath + ": expected a white field with light above the black level");
  return {FromField(left, reference, leftPath), FromField(right, reference, rightPath)};
}

std::string ReadStart(const std::string& path) {
  constexpr size_t kEnoughForGains = 1 << 16;
  std::ifstream stream(path, std::ios::binary);
  std::string text(kEnoughForGains, '\0');
  if (!stream ||
      !(stream.read(text.data(), static_cast<std::streamsize>(text.size())), stream.gcount() > 0))
    throw InputError(path + ": expected a file of gains that can be read");
  text.resize(static_cast<size_t>(stream.gcount()));
  return text;
}

bool IsPicture(const std::string& start) {
  return start.rfind("P5", 0) == 0 || start.rfind("\x89PNG", 0) == 0;
}

GainMap FromNumbers(const std::string& text, const std::string& path) {
  const size_t first = text.find_first_not_of(" \t\r\n");
  const bool isJson = first != std::string::npos && text[first] == '[';
  const GainMap map = isJson ? FromJson(text, path) : FromCsv(text, path);
  if (map.columns < 2 || map.rows < 2 || map.columns * map.rows > kGainMapEntries)
    throw InputError(path + ": expected 2 x 2 to " + std::to_string(kGainMapEntries) +
                     " gains, found " + std::to_string(map.columns) + " x " +
                     std::to_string(map.rows));
  return map;
}

}  // namespace

std::vector<GainMap> LoadGainMaps(const std::string& leftPath, const std::string& rightPath,
                                  int blackLevel) {
  const std::string left = ReadStart(leftPath);
  const std::string right = ReadStart(rightPath);
  if (IsPicture(left) != IsPicture(right))
    throw InputError(rightPath + ": expected " +
                     (IsPicture(left) ? "a white field" : "a map of numbers") + " as in " +
                     leftPath);
  if (IsPicture(left)) return FromFields(leftPath, rightPath, blackLevel);
  const std::vector<GainMap> maps = {FromNumbers(left, leftPath), FromNumbers(right, rightPath)};
  if (maps[0].columns != maps[1].columns || maps[0].rows != maps[1].rows)
    throw InputError(rightPath + ": expected a map of the size of that in " + leftPath);
  return maps;
}

}  // namespace simcam
