#include "adaptive_file.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "errors.h"

namespace simcam {
namespace {

// Two's complement, low byte first.
int Entry(const std::string& bytes, size_t index) {
  const unsigned low = static_cast<unsigned char>(bytes[2 * index]);
  const unsigned high = static_cast<unsigned char>(bytes[2 * index + 1]);
  return static_cast<int16_t>(static_cast<uint16_t>(low | high << 8));
}

void AddImplausible(const std::array<AdaptiveHistory, kAdaptiveCells>& histories,
                    const char* direction, std::vector<std::string>& lines) {
  for (size_t cell = 0; cell < kAdaptiveCells; ++cell)
    for (size_t entry = 0; entry < kAdaptiveEntries; ++entry) {
      const int k = histories[cell][entry];
      if (k > 0) continue;
      lines.push_back(std::string(direction) + " history of row " +
                      std::to_string(cell / kAdaptiveColumns) + ", column " +
                      std::to_string(cell % kAdaptiveColumns) + ", entry " + std::to_string(entry) +
                      ": " + std::to_string(k) + " is not above 0");
    }
}

}  // namespace

AdaptiveFile ParseAdaptiveFile(const std::string& bytes, const std::string& name) {
  if (bytes.size() != kAdaptiveFileBytes)
    throw InputError(name + ": has " + std::to_string(bytes.size()) + " bytes, expected " +
                     std::to_string(kAdaptiveFileBytes));
  AdaptiveFile file;
  size_t index = 0;
  for (auto* histories : {&file.near, &file.far})
    for (AdaptiveHistory& history : *histories)
      for (int& k : history) k = Entry(bytes, index++);
  return file;
}

AdaptiveFile LoadAdaptiveFile(const std::string& path) {
  std::error_code error;
  if (std::filesystem::is_directory(path, error))
    throw InputError(path + ": is a folder, expected a file of " +
                     std::to_string(kAdaptiveFileBytes) + " bytes");
  // An endless or huge file must not be read whole to be refused.
  const auto size = std::filesystem::file_size(path, error);
  if (!error && size != kAdaptiveFileBytes)
    throw InputError(path + ": has " + std::to_string(size) + " bytes, expected " +
                     std::to_string(kAdaptiveFileBytes));
  std::ifstream stream(path, std::ios::binary);
  std::string bytes(kAdaptiveFileBytes + 1, '\0');
  if (!stream || error) throw InputError(path + ": expected a file that can be read");
  stream.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  if (stream.bad()) throw InputError(path + ": expected a file that can be read");
  bytes.resize(static_cast<size_t>(stream.gcount()));
  return ParseAdaptiveFile(bytes, path);
}

int Median(const AdaptiveHistory& history, int filterSize) {
  AdaptiveHistory sorted = history;
  const auto end = sorted.begin() + std::clamp(filterSize, 1, kAdaptiveEntries);
  std::sort(sorted.begin(), end);
  return sorted[static_cast<size_t>((end - sorted.begin() - 1) / 2)];
}

AdaptiveMedians Medians(const std::array<AdaptiveHistory, kAdaptiveCells>& histories,
                        int filterSize) {
  AdaptiveMedians medians{};
  for (size_t cell = 0; cell < kAdaptiveCells; ++cell)
    medians[cell] = Median(histories[cell], filterSize);
  return medians;
}

std::vector<std::string> ImplausibleEntries(const AdaptiveFile& file) {
  std::vector<std::string> lines;
  AddImplausible(file.near, "near", lines);
  AddImplausible(file.far, "far", lines);
  return lines;
}

}  // namespace simcam
