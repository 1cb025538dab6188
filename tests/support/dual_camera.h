// A small camera with a dual-PD sensor: its records, and frames whose phase difference is known.
#pragma once

#include "support/camera.h"

namespace test {

// 240 by 120 sites in an image of 480 by 240 pixels, two words of 10 bits a site; gains and
// coefficients that differ by place; 3 by 3 overlapping windows over the middle half; the
// fallback's search range, -32 to 16 pixels, in which 24 shifts of 2 pixels are tried, every 4
// lines.
struct DualCamera : PdCamera {
  DualCamera();

  // Blocks of this size with these site types; the buffer keeps its size in sites.
  void setBlock(uint32_t width, uint32_t height, const std::vector<uint32_t>& types);
  void setFormat(uint32_t format);
  // A PD offset map with this value everywhere.
  void setOffsets(float pixels);

  // Writes the frame: sample 0 or 1 of the site at (x, y), in the horizontal layout of the format.
  void expose(const std::function<int(int sample, int x, int y)>& codes);
  // The texture, with the second view `shift` sites ahead of the first: by 2 * `shift` pixels.
  void exposeShifted(int shift);
  // Writes words in their place, whatever the block.
  void exposeWords(const std::function<int(uint32_t column, uint32_t row)>& words);

 private:
  void startFrame(size_t lastLineBytes);
};

}  // namespace test
