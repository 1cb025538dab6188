// The decoder's source is kept in this one place, without our warnings.
#include "picture_file.h"

#include <charconv>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <memory>

#include "errors.h"

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"
#pragma GCC diagnostic ignored "-Wshadow"
#pragma GCC diagnostic ignored "-Wextra"
#pragma GCC diagnostic ignored "-Wunused-function"
#define STB_IMAGE_IMPLEMENTATION
#define STB_IMAGE_STATIC
#define STBI_ONLY_JPEG
#define STBI_ONLY_PNG
#define STBI_FAILURE_USERMSG
#include <stb/stb_image.h>
#pragma GCC diagnostic pop

namespace simcam {
namespace {

constexpr int kLargestSide = 16384;
constexpr uintmax_t kLargestPicture = uintmax_t{1} << 30;

[[noreturn]] void Refuse(const std::string& path, const std::string& found) {
  throw InputError(path + ": expected a PGM (P5) or PNG picture of 8 or 16 bits, " + found);
}

std::string ReadBytes(const std::string& path) {
  std::error_code error;
  const auto size = std::filesystem::file_size(path, error);
  std::ifstream stream(path, std::ios::binary);
  if (error || !stream) Refuse(path, "found no file that can be read");
  if (size > kLargestPicture) Refuse(path, "found more than 1 GiB");
  return std::string(std::istreambuf_iterator<char>(stream), {});
}

// The whole numbers of a PGM header, between which there is space and comments may stand.
class PgmHeader {
 public:
  PgmHeader(const std::string& path, const std::string& bytes) : path_(path), bytes_(bytes) {}

  int Number(const char* what, int largest) {
    SkipSpace();
    int value = 0;
    const char* begin = bytes_.data() + at_;
    const auto read = std::from_chars(begin, bytes_.data() + bytes_.size(), value);
    if (read.ec != std::errc() || value < 1 || value > largest)
      Refuse(path_, "found no " + std::string(what) + " from 1 to " + std::to_string(largest) +
                        " in its header");
    at_ += static_cast<size_t>(read.ptr - begin);
    return value;
  }

  // Where the codes begin: one byte of space after the last number.
  size_t DataStart() const { return at_ + 1; }

 private:
  void SkipSpace() {
    while (at_ < bytes_.size()) {
      if (bytes_[at_] == '#') {
        while (at_ < bytes_.size() && bytes_[at_] != '\n') ++at_;
      } else if (bytes_[at_] != ' ' && (bytes_[at_] < '\t' || bytes_[at_] > '\r')) {
        return;
      } else {
        ++at_;
      }
    }
  }

  const std::string& path_;
  const std::string& bytes_;
  size_t at_ = 2;
};

int BitsFor(int largestCode) {
  int bits = 1;
  while ((1 << bits) <= largestCode) ++bits;
  return bits;
}

GreyPicture ReadPgm(const std::string& path, const std::string& bytes) {
  PgmHeader header(path, bytes);
  GreyPicture picture;
  picture.width = header.Number("width", kLargestSide);
  picture.height = header.Number("height", kLargestSide);
  const int largest = header.Number("largest code", std::numeric_limits<uint16_t>::max());
  picture.bits = BitsFor(largest);
  const size_t count = static_cast<size_t>(picture.width) * static_cast<size_t>(picture.height);
  const size_t size = largest > 255 ? 2 : 1;
  if (bytes.size() < header.DataStart() + size * count)
    Refuse(path, "found it cut off after " + std::to_string(bytes.size()) + " bytes");
  const auto* data = reinterpret_cast<const uint8_t*>(bytes.data()) + header.DataStart();
  picture.codes.resize(count);
  for (size_t i = 0; i < count; ++i)
    picture.codes[i] =
        size == 1 ? data[i] : static_cast<uint16_t>(data[2 * i] << 8 | data[2 * i + 1]);
  return picture;
}

GreyPicture ReadPng(const std::string& path, const std::string& bytes) {
  const auto* data = reinterpret_cast<const stbi_uc*>(bytes.data());
  const int size = static_cast<int>(bytes.size());
  GreyPicture picture;
  int channels = 0;
  if (stbi_info_from_memory(data, size, &picture.width, &picture.height, &channels) == 0)
    Refuse(path, std::string("found damage (") + stbi_failure_reason() + ")");
  if (picture.width > kLargestSide || picture.height > kLargestSide)
    Refuse(path, "found " + std::to_string(picture.width) + " x " + std::to_string(picture.height) +
                     " pixels, at most 16384 a side");
  const bool isDeep = stbi_is_16_bit_from_memory(data, size) != 0;
  const std::unique_ptr<stbi_us, void (*)(void*)> codes(
      stbi_load_16_from_memory(data, size, &picture.width, &picture.height, &channels, 1),
      stbi_image_free);
  if (!codes) Refuse(path, std::string("found damage (") + stbi_failure_reason() + ")");
  picture.bits = isDeep ? 16 : 8;
  picture.codes.assign(codes.get(), codes.get() + static_cast<size_t>(picture.width) *
                                                      static_cast<size_t>(picture.height));
  // Eight bits come in both halves of a word.
  if (!isDeep)
    for (uint16_t& code : picture.codes) code = static_cast<uint16_t>(code >> 8);
  return picture;
}

}  // namespace

GreyPicture LoadGreyPicture(const std::string& path) {
  const std::string bytes = ReadBytes(path);
  if (bytes.rfind("P5", 0) == 0) return ReadPgm(path, bytes);
  if (bytes.rfind("\x89PNG", 0) == 0) return ReadPng(path, bytes);
  Refuse(path, "found neither");
}

ColourPicture LoadColourPicture(const std::string& path) {
  ColourPicture picture;
  int channels = 0;
  const std::unique_ptr<stbi_uc, void (*)(void*)> bytes(
      stbi_load(path.c_str(), &picture.width, &picture.height, &channels, 3), stbi_image_free);
  if (!bytes)
    throw InputError(path + ": expected a PNG or JPEG picture (" + stbi_failure_reason() + ")");
  picture.bytes.assign(bytes.get(), bytes.get() + 3 * static_cast<size_t>(picture.width) *
                                                      static_cast<size_t>(picture.height));
  return picture;
}

}  // namespace simcam
