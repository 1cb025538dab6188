// The scalar kernels of the dense lines.
#include <cstdlib>
#include <cstring>

#include "kernels/kernels_scalar.h"
#include "kernels/second_order.h"

namespace pdlib::scalar {
namespace {

// Sites that the target fills in one vector.
constexpr int kSitesPerVector = 4;

struct Site {
  uint16_t left;
  uint16_t right;
};

// How a packing holds site `index` of a stretch, whose line starts at `line`.
struct Bytes {
  static Site Read(const uint8_t* line, int firstSite, int index) {
    const uint8_t* at = line + 2 * (size_t{0} + firstSite + index);
    return {at[0], at[1]};
  }
};

struct Words {
  static Site Read(const uint8_t* line, int firstSite, int index) {
    Site site;
    std::memcpy(&site, line + sizeof site * (size_t{0} + firstSite + index), sizeof site);
    return site;
  }
};

// Two sites in five bytes: the high eight bits of the four samples, then all their low bits. Pairs
// are counted from the start of the stretch.
struct Packed {
  static Site Read(const uint8_t* line, int firstSite, int index) {
    const int half = index % 2;
    const uint8_t* group = line + PackedPairOffset(firstSite + index - half);
    const auto sample = [group](int i) {
      return static_cast<uint16_t>(group[i] << 2 | (group[4] >> 2 * i & 3));
    };
    return {sample(2 * half), sample(2 * half + 1)};
  }
};

// The vectors of the target shift a product left when the count is negative, and out when it is
// above 31; its scalar code takes the count modulo 32. Depths of 4 to 16 bits give neither.
uint32_t ShiftProduct(uint32_t product, int shift, bool inVector) {
  if (!inVector) return product >> (shift & 31);
  if (shift <= -32 || shift >= 32) return 0;
  return shift < 0 ? product << -shift : product >> shift;
}

uint16_t Corrected(uint16_t sum, uint16_t cap, uint16_t gain, int shift, bool inVector) {
  const uint32_t limited = sum < cap ? sum : cap;
  return static_cast<uint16_t>(ShiftProduct(limited * gain, shift, inVector));
}

// Sites [first, end) of a stretch.
template <class Packing, bool kInVector>
void FillSites(const DenseFill& fill, int first, int end) {
  const int lines = 1 << fill.log2Bin;
  for (int i = first; i < end; ++i) {
    uint16_t left = 0;
    uint16_t right = 0;
    for (int k = 0; k < lines; ++k) {
      const uint8_t* line = fill.source + fill.lineStride * static_cast<size_t>(k);
      const Site site = Packing::Read(line, fill.firstSite, i);
      left = static_cast<uint16_t>(left + site.left);
      right = static_cast<uint16_t>(right + site.right);
    }
    fill.left[i] = Corrected(left, fill.cap, fill.leftGain[i], fill.shift, kInVector);
    fill.right[i] = Corrected(right, fill.cap, fill.rightGain[i], fill.shift, kInVector);
  }
}

}  // namespace

void FillBytes(const DenseFill& fill) {
  FillSites<Bytes, false>(fill, 0, fill.sites);
}

void FillPacked(const DenseFill& fill) {
  FillSites<Packed, false>(fill, 0, fill.sites);
}

void FillWords(const DenseFill& fill) {
  const int inVectors = fill.sites / kSitesPerVector * kSitesPerVector;
  FillSites<Words, true>(fill, 0, inVectors);
  FillSites<Words, false>(fill, inVectors, fill.sites);
}

void FilterLine(const uint16_t* in, uint16_t* out, int length, const float* a, const float* b) {
  if (length > 0) FilterOneLine<true>(in, out, length, a, b);
}

void FilterLines(const LinePair& lines, int length, const float* a, const float* b) {
  FilterLine(lines.left, lines.leftOut, length, a, b);
  FilterLine(lines.right, lines.rightOut, length, a, b);
}

void LineSad(const uint16_t* left, const uint16_t* right, int positions, int shifts, int32_t* out) {
  for (int k = 0; k < shifts; ++k) {
    uint32_t sum = 0;
    for (int i = 0; i < positions; ++i) {
      sum += static_cast<uint32_t>(std::abs(left[i + k] - right[i]));
    }
    out[k] = static_cast<int32_t>(sum);
  }
}

}  // namespace pdlib::scalar
