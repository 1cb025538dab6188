// How a tuning file is laid out, by the version of its format.
#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <string>

namespace tessarine {

struct Version {
  uint16_t major = 0;
  uint16_t minor = 0;
  uint32_t patch = 0;

  auto operator<=>(const Version&) const = default;
};

std::string ToText(const Version& version);
// "5.0.0"; nothing for any other text.
std::optional<Version> ParseVersion(const std::string& text);

inline constexpr Version kNewestFormat{5, 0, 0};

// Sizes in bytes of fixed fields.
inline constexpr char kHeaderTag[] = "ZYN Tessarine Header";
inline constexpr uint32_t kHeaderTagSize = 28;
inline constexpr uint32_t kToolSize = 48;
inline constexpr uint32_t kTagSize = 64;
inline constexpr uint32_t kModeTextSize = 32;
inline constexpr uint32_t kModuleTypeSize = 32;
inline constexpr uint32_t kReservedSize = 8;
inline constexpr uint32_t kDataEntrySize = 16;
inline constexpr uint32_t kCrcSize = 4;
// What the library reads of a file for its section table.
inline constexpr uint32_t kFileHead = 316;

inline constexpr uint64_t kCompressedFlag = 2;  // of the header
inline constexpr uint32_t kResidentFlag = 1;    // of a mode
inline constexpr uint32_t kNoLink = 0xFFFFFFFF;

enum SectionType : uint32_t {
  kSymbolSection,
  kDataSection,
  kModeSection,
  kDataTableSection,
  kSectionTypes
};

// What a version of the format has, and how large it is.
class Format {
 public:
  explicit Format(Version version) : version_(version) {}

  Version GetVersion() const { return version_; }

  bool HasTexts() const { return version_ >= Version{1, 0, 2}; }      // tool and tag in the header
  bool HasFlags() const { return version_ >= Version{3, 0, 0}; }      // in the header
  bool HasLinks() const { return version_ >= Version{2, 0, 0}; }      // of modes
  bool HasModeText() const { return version_ >= Version{4, 0, 0}; }   // before the modes
  bool HasModeFlags() const { return version_ >= Version{5, 0, 0}; }  // of modes
  bool HasReserved() const { return Alignment() == 1 && version_ < Version{3, 0, 1}; }
  bool HasDuplicates() const { return version_ > Version{3, 0, 1}; }
  bool HasDataTable() const { return version_ >= Version{4, 0, 0}; }

  uint32_t Alignment() const;
  uint32_t WordSize() const { return Alignment() > 4 ? Alignment() : 4; }  // of a 32-bit field
  uint64_t Padded(uint64_t size) const;
  uint32_t HeaderSize() const;
  uint32_t ModeEntrySize() const;
  // An entry of the symbol table: what the size of the table is counted in, and what the fields
  // take. The two differ where fields are aligned.
  uint32_t StatedSymbolSize() const;
  uint32_t OccupiedSymbolSize() const;

 private:
  Version version_;
};

}  // namespace tessarine
