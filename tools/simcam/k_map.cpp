// The file of K factors per region.
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "errors.h"
#include "json_node.h"
#include "learn_run.h"
#include "text.h"

namespace simcam {
namespace {

// Beyond these the phase differences of some regions leave the range in which they can be measured.
constexpr double kSmallestFactor = 0.5;
constexpr double kLargestFactor = 2;
constexpr uintmax_t kLargestFile = 1 << 20;

std::string Counted(const Json& json) {
  return json.is_array() ? std::to_string(json.size()) + " of them"
                         : std::string("a value of type ") + json.type_name();
}

}  // namespace

std::vector<double> ParseKMap(const std::string& text, const std::string& file) {
  const Json json = ParseJson(text, file);
  if (!json.is_array() || json.size() != kRegionRows)
    throw InputError(file + ": expected an array of " + std::to_string(kRegionRows) +
                     " rows, found " + Counted(json));
  std::vector<double> factors;
  for (size_t row = 0; row < json.size(); ++row) {
    const std::string where = file + ": row " + std::to_string(row);
    if (!json[row].is_array() || json[row].size() != kRegionColumns)
      throw InputError(where + ": expected an array of " + std::to_string(kRegionColumns) +
                       " factors, found " + Counted(json[row]));
    for (size_t column = 0; column < json[row].size(); ++column) {
      const Json& value = json[row][column];
      const double factor = value.is_number() ? value.get<double>() : -1;
      if (!(factor >= kSmallestFactor && factor <= kLargestFactor))
        throw InputError(where + ", column " + std::to_string(column) +
                         ": expected a number from " + Short(kSmallestFactor) + " to " +
                         Short(kLargestFactor) + ", found " + value.dump());
      factors.push_back(factor);
    }
  }
  return factors;
}

std::vector<double> LoadKMap(const std::string& path) {
  std::error_code error;
  const auto size = std::filesystem::file_size(path, error);
  std::ifstream stream(path, std::ios::binary);
  if (error || !stream) throw InputError(path + ": expected a file that can be read");
  if (size > kLargestFile) throw InputError(path + ": expected a map of K factors, found too much");
  return ParseKMap(std::string(std::istreambuf_iterator<char>(stream), {}), path);
}

}  // namespace simcam
