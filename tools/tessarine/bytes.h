// Little-endian fields of a tuning file, one after another.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "format.h"

namespace tessarine {

using Bytes = std::vector<uint8_t>;
using View = std::span<const uint8_t>;

// Appends fields.
class ByteWriter {
 public:
  explicit ByteWriter(uint32_t alignment) : alignment_(alignment) {}

  void Word(uint32_t value) { Number(value, 4, alignment_ > 4 ? alignment_ : 4); }
  // Without padding, as in the header and among the elements of an array.
  void BareWord(uint32_t value) { Number(value, 4, 4); }
  void LongWord(uint64_t value) { Number(value, 8, 8); }
  void PutVersion(const Version& version) {
    Number(version.major, 2, 2);
    Number(version.minor, 2, 2);
    Number(version.patch, 4, 4);
  }
  // Cut off, or filled up with zeros, to `size`.
  void Text(const std::string& text, uint32_t size) {
    for (uint32_t i = 0; i < size; ++i)
      bytes_.push_back(i < text.size() ? static_cast<uint8_t>(text[i]) : uint8_t{0});
  }
  void Raw(const Bytes& bytes) { bytes_.insert(bytes_.end(), bytes.begin(), bytes.end()); }
  // Fills up with zeros to a multiple of the alignment.
  void Align() { bytes_.resize((bytes_.size() + alignment_ - 1) / alignment_ * alignment_); }
  void PadTo(size_t size) { bytes_.resize(size); }

  size_t Size() const { return bytes_.size(); }
  Bytes&& Take() { return std::move(bytes_); }

 private:
  void Number(uint64_t value, uint32_t size, uint32_t place) {
    for (uint32_t i = 0; i < place; ++i)
      bytes_.push_back(i < size ? static_cast<uint8_t>(value >> (8 * i)) : uint8_t{0});
  }

  Bytes bytes_;
  uint32_t alignment_;
};

// Reads fields. What stands past the end reads as zero, and is remembered.
class ByteReader {
 public:
  ByteReader(View bytes, uint32_t alignment) : bytes_(bytes), alignment_(alignment) {}

  uint32_t Word() { return static_cast<uint32_t>(Number(4, alignment_ > 4 ? alignment_ : 4)); }
  uint32_t BareWord() { return static_cast<uint32_t>(Number(4, 4)); }
  uint64_t LongWord() { return Number(8, 8); }
  Version TakeVersion() {
    Version version;
    version.major = static_cast<uint16_t>(Number(2, 2));
    version.minor = static_cast<uint16_t>(Number(2, 2));
    version.patch = static_cast<uint32_t>(Number(4, 4));
    return version;
  }
  // All `size` bytes.
  std::string Chars(size_t size) {
    if (!Has(size)) return "";
    const auto* first = reinterpret_cast<const char*>(bytes_.data()) + at_;
    at_ += size;
    return std::string(first, size);
  }
  // Up to the NUL within `size` bytes.
  std::string Text(size_t size) {
    const std::string text = Chars(size);
    return text.substr(0, text.find('\0'));
  }
  void Skip(size_t size) { at_ += Has(size) ? size : 0; }

  bool IsPastEnd() const { return isPastEnd_; }
  // The last field's padding may be missing.
  size_t Left() const { return at_ < bytes_.size() ? bytes_.size() - at_ : 0; }

 private:
  bool Has(size_t size) {
    if (size > Left()) isPastEnd_ = true;
    return !isPastEnd_;
  }
  uint64_t Number(uint32_t size, uint32_t place) {
    if (!Has(size)) return 0;
    uint64_t value = 0;
    for (uint32_t i = 0; i < size; ++i) value |= uint64_t{bytes_[at_ + i]} << (8 * i);
    at_ += place;
    return value;
  }

  View bytes_;
  uint32_t alignment_;
  size_t at_ = 0;
  bool isPastEnd_ = false;
};

// The checksum at the end of a file: reflected CRC-32, polynomial 0xEDB88320, started at all ones
// and inverted at the end.
inline uint32_t Checksum(View bytes) {
  static constexpr std::array<uint32_t, 256> kOfByte = [] {
    std::array<uint32_t, 256> table{};
    for (uint32_t byte = 0; byte < 256; ++byte) {
      table[byte] = byte;
      for (int bit = 0; bit < 8; ++bit)
        table[byte] = (table[byte] >> 1) ^ ((table[byte] & 1) != 0 ? 0xEDB88320u : 0u);
    }
    return table;
  }();
  uint32_t crc = 0xFFFFFFFF;
  for (uint8_t byte : bytes) crc = (crc >> 8) ^ kOfByte[(crc ^ byte) & 0xFF];
  return ~crc;
}

}  // namespace tessarine
