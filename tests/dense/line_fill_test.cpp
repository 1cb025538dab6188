// Filling of horizontal lines against the definition, sample by sample.
#include <algorithm>

#include "line_inputs.h"
#include "support/log_capture.h"

namespace {

using namespace dense_test;
using kernel_test::Guard;

// ---- The definition

using ReadSample = uint32_t (*)(const uint8_t* line, int start, int position, int channel);

uint32_t ReadWord(const uint8_t* line, int start, int position, int channel) {
  return WordAt(line, static_cast<size_t>(4 * (start + position) + 2 * channel));
}

uint32_t ReadByte(const uint8_t* line, int start, int position, int channel) {
  return line[2 * (start + position) + channel];
}

uint32_t ReadPacked(const uint8_t* line, int start, int position, int channel) {
  const int pair = start + position - position % 2;
  const uint8_t* group = line + ((pair * 5 >> 1) & 0xffff);
  const int sample = 2 * (position % 2) + channel;
  return static_cast<uint32_t>(group[sample] << 2 | (group[4] >> (2 * sample) & 3));
}

struct Packing {
  const char* name;
  dpd_fill_t* dispatch;
  dpd_fill_t* byBin[5];
  ReadSample read;
  bool limits;
  bool inPairs;
  int depth;
};

#define BY_BIN(suffix)                                                                            \
  {                                                                                               \
    dpd_line_fill_buffer_with_gain_bin_1_##suffix, dpd_line_fill_buffer_with_gain_bin_2_##suffix, \
        dpd_line_fill_buffer_with_gain_bin_4_##suffix,                                            \
        dpd_line_fill_buffer_with_gain_bin_8_##suffix,                                            \
        dpd_line_fill_buffer_with_gain_bin_16_##suffix                                            \
  }
const Packing kPackings[] = {
    {"words", dpd_line_fill_buffer_with_gain_bin_10bpp_unpacked, BY_BIN(10bpp_unpacked), ReadWord,
     true, false, 10},
    {"packed", dpd_line_fill_buffer_with_gain_bin_10bpp_packed, BY_BIN(10bpp_packed), ReadPacked,
     true, true, 10},
    {"bytes", dpd_line_fill_buffer_with_gain_bin_8bpp_unpacked, BY_BIN(8bpp_unpacked), ReadByte,
     false, false, 8},
};

struct FillCase {
  int bin;
  int start;
  int length;
  int depth;
  int clamp;
  int strideBeyond;  // bytes between the lines
  bool atMapEnd;     // the stretch ends where the gain map does
};

// Positions that are written: packed sites come in pairs.
int Written(const Packing& packing, const FillCase& c) {
  return packing.inPairs ? (c.length + 1) / 2 * 2 : c.length;
}

// Bytes of a line up to the last one that the stretch needs.
int LineBytes(const Packing& packing, const FillCase& c) {
  if (c.length == 0) return 0;
  if (packing.inPairs) return ((c.start + Written(packing, c) - 2) * 5 >> 1) + 5;
  return (c.start + c.length) * (packing.limits ? 4 : 2);
}

// Vectors of four words shift left by a negative count and lose everything from 32 on; what is left
// over of a stretch, and all other packings, take the count modulo 32.
uint32_t Shifted(uint32_t product, int shift, bool inVector) {
  if (!inVector) return product >> (static_cast<unsigned>(shift) % 32);
  if (shift > 31 || shift < -31) return 0;
  return shift < 0 ? product << -shift : product >> shift;
}

class Line {
 public:
  Line(const Packing& packing, const FillCase& c, Random& random, Guard guard)
      : packing_(packing),
        case_(c),
        request_(Request(c.bin, c.depth, c.clamp)),
        gains_(c.atMapEnd ? c.length : Written(packing, c)),
        guard_(guard),
        frame_(static_cast<size_t>((c.bin - 1) * Stride() + LineBytes(packing, c)), guard),
        leftGain_(static_cast<size_t>(gains_), guard),
        rightGain_(static_cast<size_t>(gains_), guard) {
    request_.start_x = static_cast<uint16_t>(c.start);
    request_.end_x = static_cast<uint16_t>(c.start + c.length);
    request_.line_stride = static_cast<uint16_t>(Stride());
    request_.pd_width = static_cast<uint16_t>(c.start + gains_);
    for (uint8_t& byte : frame_) byte = static_cast<uint8_t>(random.Next());
    for (uint16_t& gain : leftGain_) gain = static_cast<uint16_t>(random.Next());
    for (uint16_t& gain : rightGain_) gain = static_cast<uint16_t>(random.Next());
  }

  // Left results, then right ones; outputs, gains and frame lie at pages without access.
  std::vector<uint16_t> Fill(dpd_fill_t* fill) const {
    const size_t count = static_cast<size_t>(Written(packing_, case_));
    const Guarded<uint16_t> left(count, guard_);
    const Guarded<uint16_t> right(count, guard_);
    EXPECT_EQ(fill(frame_.data(), left.data(), right.data(), &request_, leftGain_.data(),
                   rightGain_.data()),
              static_cast<int8_t>(Log2(case_.bin) - 4 + case_.depth));
    std::vector<uint16_t> both = left.values();
    both.insert(both.end(), right.begin(), right.end());
    return both;
  }

  std::vector<uint16_t> Expected() const {
    std::vector<uint16_t> both;
    for (int channel : {0, 1}) {
      for (int i = 0; i < Written(packing_, case_); ++i) both.push_back(Expected(i, channel));
    }
    return both;
  }

 private:
  int Stride() const { return LineBytes(packing_, case_) + case_.strideBeyond; }

  uint16_t Expected(int position, int channel) const {
    uint32_t sum = 0;
    for (int k = 0; k < case_.bin; ++k) {
      sum += packing_.read(frame_.data() + k * Stride(), case_.start, position, channel);
    }
    sum &= 0xffff;
    if (packing_.limits) sum = std::min(sum, Cap(static_cast<uint32_t>(case_.clamp), case_.bin));
    const auto& gain = channel == 0 ? leftGain_ : rightGain_;
    const uint32_t product = sum * gain[static_cast<size_t>(std::min(position, gains_ - 1))];
    const bool inVector = packing_.limits && !packing_.inPairs && position < case_.length / 4 * 4;
    const int8_t shift = static_cast<int8_t>(Log2(case_.bin) - 4 + case_.depth);
    return static_cast<uint16_t>(Shifted(product, shift, inVector));
  }

  const Packing& packing_;
  FillCase case_;
  dpd_input_line_request_t request_;
  int gains_;  // entries of a gain row from the stretch on
  Guard guard_;
  Guarded<uint8_t> frame_;
  Guarded<uint16_t> leftGain_;
  Guarded<uint16_t> rightGain_;
};

class LineFill : public EveryForm {
 protected:
  static void Check(const Packing& packing, const FillCase& c) {
    for (Guard guard : {Guard::kBehind, Guard::kBefore}) {
      if (guard == Guard::kBefore && c.length % 3 != 1) continue;
      Random random(static_cast<uint64_t>(c.length * 64 + c.bin));
      const Line line(packing, c, random, guard);
      const auto expected = line.Expected();
      EXPECT_EQ(line.Fill(packing.byBin[Log2(c.bin)]), expected)
          << packing.name << ", bin " << c.bin << ", " << c.length << " sites from " << c.start
          << ", depth " << c.depth << ", clamp " << c.clamp;
      EXPECT_EQ(line.Fill(packing.dispatch), expected) << packing.name << ", bin " << c.bin;
    }
  }
};

TEST_P(LineFill, EveryLengthAroundTheVectors) {
  for (const Packing& packing : kPackings) {
    for (int bin : kBins) {
      for (int length = 0; length <= 40; ++length) {
        Check(packing, {bin, 0, length, packing.depth, 0xffff, 0, false});
        Check(packing, {bin, 6, length, packing.depth, 0x2ff, 3, true});
      }
      Check(packing, {bin, 5, 200, packing.depth, 0xffff, 1, true});
      Check(packing, {bin, 0, 515, packing.depth, 0xffff, 0, false});
      Check(packing, {bin, 0, 998, packing.depth, 4000, 0, false});
      for (int clamp : {0, 1, 1023, 32767, 32768, 65534})
        Check(packing, {bin, 1, 46, packing.depth, clamp, 0, false});
    }
  }
}

TEST_P(LineFill, EveryShift) {
  for (const Packing& packing : kPackings) {
    for (int bin : kBins) {
      for (int depth : {0, 1, 3, 4, 5, 12, 14, 16, 17, 20, 35, 36, 40, 131, 200, 255}) {
        Check(packing, {bin, 2, 38, depth, 0xffff, 0, false});
      }
    }
  }
}

// A pair's offset in a packed line is counted in 16 bits: from site 26214 on it starts anew.
TEST_P(LineFill, PackedOffsetsWrap) {
  Random random(1);
  const int start = 26206;
  Guarded<uint8_t> frame(0x10000 + 5);
  for (uint8_t& byte : frame) byte = static_cast<uint8_t>(random.Next());
  dpd_input_line_request_t request = Request(1);
  request.start_x = start;
  request.end_x = start + 40;
  request.pd_width = start + 40;
  const std::vector<uint16_t> gain(40, 64);
  uint16_t left[40];
  uint16_t right[40];
  dpd_line_fill_buffer_with_gain_bin_10bpp_packed(frame.data(), left, right, &request, gain.data(),
                                                  gain.data());
  for (int i = 0; i < 40; ++i) {
    EXPECT_EQ(left[i], ReadPacked(frame.data(), start, i, 0)) << i;
    EXPECT_EQ(right[i], ReadPacked(frame.data(), start, i, 1)) << i;
  }
}

// A full-scale sample with a gain of 1024 comes to just under 2^14 whatever depth, packing and bin;
// a gain that carries it past 16 bits wraps.
TEST_P(LineFill, ScaleDoesNotDependOnDepthOrBin) {
  for (const Packing& packing : kPackings) {
    for (int bin : kBins) {
      const uint32_t full = packing.limits ? 1023 : 255;
      std::vector<uint8_t> frame(16 * 80, 0xff);
      if (packing.limits && !packing.inPairs) {
        for (size_t i = 1; i < frame.size(); i += 2) frame[i] = 0x03;
      }
      dpd_input_line_request_t request = Request(bin, packing.depth);
      request.end_x = 20;
      request.pd_width = 20;
      request.line_stride = 80;
      const std::vector<uint16_t> leftGain(20, 1024);
      const std::vector<uint16_t> rightGain(20, 5000);
      std::vector<uint16_t> left(20), right(20);
      packing.dispatch(frame.data(), left.data(), right.data(), &request, leftGain.data(),
                       rightGain.data());
      const uint32_t shift = static_cast<uint32_t>(packing.depth) - 4;
      const std::vector<uint16_t> expected(20, static_cast<uint16_t>(full << 10 >> shift));
      const std::vector<uint16_t> wrapped(20, static_cast<uint16_t>(full * 5000 >> shift));
      EXPECT_EQ(left, expected) << packing.name << bin;
      EXPECT_EQ(right, wrapped) << packing.name << bin;
    }
  }
}

FOR_EVERY_FORM(LineFill);

TEST(LineFillRefusals, WrongBinsFillNothing) {
  const uint8_t frame[400] = {};
  const uint16_t gain[4] = {};
  for (const Packing& packing : kPackings) {
    for (int bin : {0, 3, 5, 32, 65535}) {
      test::LogCapture log;
      uint16_t left[4] = {7, 7, 7, 7};
      dpd_input_line_request_t request = Request(bin);
      request.end_x = 4;
      EXPECT_EQ(packing.dispatch(frame, left, left, &request, gain, gain), 0);
      EXPECT_EQ(log.texts(), std::vector<std::string>{"ERROR of Lines!!!!"});
      EXPECT_EQ(std::count(left, left + 4, 7), 4);
    }
  }
}

TEST(LineFillRefusals, NoFrameFillsNothing) {
  const uint16_t gain[8] = {};
  for (const Packing& packing : kPackings) {
    for (int length : {3, 8}) {
      test::LogCapture log;
      uint16_t left[8] = {7, 7, 7, 7, 7, 7, 7, 7};
      dpd_input_line_request_t request = Request(4);
      request.end_x = static_cast<uint16_t>(length);
      request.line_stride = 0x20;
      packing.dispatch(nullptr, left, left, &request, gain, gain);
      EXPECT_EQ(log.texts(), std::vector<std::string>{
                                 "ERROR!!! INVALID 2PD line buffer pointers!!!! 0 20 40 60"});
      EXPECT_EQ(std::count(left, left + 8, 7), 8);
    }
  }
}

TEST(LineFillRefusals, AStretchThatEndsBeforeItsStartIsEmpty) {
  const uint8_t frame[4] = {};
  for (const Packing& packing : kPackings) {
    dpd_input_line_request_t request = Request(1);
    request.start_x = 9;
    request.end_x = 8;
    uint16_t left[2] = {7, 7};
    packing.dispatch(frame, left, left, &request, left, left);
    EXPECT_EQ(left[0], 7);
  }
}

}  // namespace
