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

// What each part of a white field lacks to the brightest one.
GainMap FromField(const GreyPicture& field, const std::string& path) {
  if (field.width < kFieldColumns || field.height < kFieldRows)
    throw InputError(path + ": expected a white field of at least 17 x 13 pixels");
  std::vector<double> means;
  for (int row = 0; row < kFieldRows; ++row) {
    for (int column = 0; column < kFieldColumns; ++column) {
      const int x0 = column * field.width / kFieldColumns;
      const int x1 = (column + 1) * field.width / kFieldColumns;
      const int y0 = row * field.height / kFieldRows;
      const int y1 = (row + 1) * field.height / kFieldRows;
      double sum = 0;
      for (int y = y0; y < y1; ++y)
        for (int x = x0; x < x1; ++x) sum += field.At(x, y);
      means.push_back(sum / ((x1 - x0) * (y1 - y0)));
    }
  }
  const double brightest = *std::max_element(means.begin(), means.end());
  GainMap map;
  for (int row = 0; row < kFieldRows; ++row) {
    std::vector<double> gains;
    for (int column = 0; column < kFieldColumns; ++column)
      gains.push_back(brightest / means[static_cast<size_t>(row * kFieldColumns + column)]);
    AddRow(gains, path + ": white field, part " + std::to_string(row), map);
  }
  return map;
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

}  // namespace

GainMap LoadGainMap(const std::string& path) {
  const std::string start = ReadStart(path);
  const bool isPicture = start.rfind("P5", 0) == 0 || start.rfind("\x89PNG", 0) == 0;
  const size_t first = start.find_first_not_of(" \t\r\n");
  const bool isJson = first != std::string::npos && start[first] == '[';
  const GainMap map = isPicture ? FromField(LoadGreyPicture(path), path)
                      : isJson  ? FromJson(start, path)
                                : FromCsv(start, path);
  if (map.columns < 2 || map.rows < 2 || map.columns * map.rows > kGainMapEntries)
    throw InputError(path + ": expected 2 x 2 to " + std::to_string(kGainMapEntries) +
                     " gains, found " + std::to_string(map.columns) + " x " +
                     std::to_string(map.rows));
  return map;
}

}  // namespace simcam
