// Versions of files and schemas.
#pragma once

#include <compare>
#include <cstdint>

// Stored as 8 bytes: major, minor, patch.
struct VersionUnion {
  uint16_t majorVersion = 0;
  uint16_t minorVersion = 0;
  uint32_t patchVersion = 0;

  constexpr VersionUnion() = default;
  constexpr VersionUnion(uint16_t major_, uint16_t minor_, uint32_t patch_)
      : majorVersion(major_), minorVersion(minor_), patchVersion(patch_) {}
  // The little-endian word with the same layout.
  explicit constexpr VersionUnion(uint64_t word)
      : majorVersion(static_cast<uint16_t>(word)),
        minorVersion(static_cast<uint16_t>(word >> 16)),
        patchVersion(static_cast<uint32_t>(word >> 32)) {}

  constexpr uint64_t Word() const {
    return majorVersion | uint64_t{minorVersion} << 16 | uint64_t{patchVersion} << 32;
  }
  // By major, minor, patch: negative, 0, positive.
  constexpr int Compare(const VersionUnion& other) const {
    return (Rank() > other.Rank() ? 1 : 0) - (Rank() < other.Rank() ? 1 : 0);
  }
  constexpr bool operator==(const VersionUnion& other) const = default;
  constexpr auto operator<=>(const VersionUnion& other) const { return Rank() <=> other.Rank(); }

 private:
  constexpr uint64_t Rank() const {
    return uint64_t{majorVersion} << 48 | uint64_t{minorVersion} << 32 | patchVersion;
  }
};
