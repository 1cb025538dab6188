// Picture files as they are: codes, not light.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace simcam {

// Grey codes, row by row.
struct GreyPicture {
  int width = 0;
  int height = 0;
  int bits = 8;  // codes are 0 to 2^bits - 1
  std::vector<uint16_t> codes;

  uint16_t At(int x, int y) const {
    return codes[static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)];
  }
};

// PGM (P5, any largest code) or PNG, of 8 or 16 bits; colours become grey. Throws InputError that
// names the file and what was expected.
GreyPicture LoadGreyPicture(const std::string& path);

// Eight bits for red, green and blue, row by row.
struct ColourPicture {
  int width = 0;
  int height = 0;
  std::vector<uint8_t> bytes;
};

// PNG or JPEG. Throws InputError.
ColourPicture LoadColourPicture(const std::string& path);

}  // namespace simcam
