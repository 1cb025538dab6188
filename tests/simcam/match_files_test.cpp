// Files that two views come in: pictures and maps of gains.
#include <gtest/gtest.h>

#include <fstream>

#include "match_run.h"
#include "picture_file.h"
#include "scene.h"
#include "small_sensor.h"
#include "support/temp_folder.h"

namespace {

using namespace simcam;

// Two grey pixels as PNG files of 16 and of 8 bits, uncompressed: 0x1234 and 0xfffe, 7 and 200.
constexpr const char* kPng16 =
    "89504e470d0a1a0a0000000d494844520000000200000001100000000081d9fc15000000104944415478010105"
    "00faff001234fffe03e502449addcf0c0000000049454e44ae426082";
constexpr const char* kPng8 =
    "89504e470d0a1a0a0000000d4948445200000002000000010800000000d14920560000000e4944415478010103"
    "00fcff0007c800d900d01fad24f80000000049454e44ae426082";
// 64 x 16 pixels of one bit, dark on the left half.
constexpr const char* kHalf =
    "89504e470d0a1a0a0000000d49484452000000400000001001000000008e9c4484000000114944415478da6360"
    "0082ff40c030381800700f3fc1d93901090000000049454e44ae426082";

std::string Bytes(const std::string& hex) {
  std::string bytes;
  for (size_t i = 0; i < hex.size(); i += 2)
    bytes += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
  return bytes;
}

class MatchFiles : public testing::Test {
 protected:
  std::string Write(const std::string& name, const std::string& content) const {
    const std::string path = (folder_.path() / name).string();
    std::ofstream(path, std::ios::binary) << content;
    return path;
  }

  const test::TempFolder folder_;
};

TEST_F(MatchFiles, GreyPicturesComeAsTheyAre) {
  using Case = std::tuple<std::string, int, std::vector<uint16_t>>;
  const std::vector<Case> cases = {
      {std::string("P5\n3 1\n255\n\x01\x02\xff", 14), 8, {1, 2, 255}},
      {std::string("P5 # made by hand\n# 3 wide\n 3\t1 # and low\n255 \0\x20\n", 50),
       8,
       {0, 32, 10}},
      {std::string("P5\n2 1\n65535\n\x12\x34\xff\xfe", 17), 16, {0x1234, 0xfffe}},
      {std::string("P5\n2 1\n1000\n\x03\xe8\x00\x01", 16), 10, {1000, 1}},
      {std::string("P5\n2 1\n15\n\x0f\x01", 12), 4, {15, 1}},
      {Bytes(kPng16), 16, {0x1234, 0xfffe}},
      {Bytes(kPng8), 8, {7, 200}},
  };
  for (const auto& [content, bits, codes] : cases) {
    const GreyPicture picture = LoadGreyPicture(Write("a.pgm", content));
    EXPECT_EQ(picture.bits, bits);
    EXPECT_EQ(picture.width, static_cast<int>(codes.size()));
    EXPECT_EQ(picture.height, 1);
    EXPECT_EQ(picture.codes, codes);
  }
}

TEST_F(MatchFiles, BadPicturesAreNamed) {
  struct Case {
    std::string content;
    const char* message;
  };
  const std::vector<Case> cases = {
      {"", "found neither"},
      {"P6\n1 1\n255\n123", "found neither"},
      {"P5\n", "found no width from 1 to 16384"},
      {"P5\n0 1\n255\n", "found no width"},
      {"P5\n-3 1\n255\n", "found no width"},
      {"P5\n1 99999999999\n255\n", "found no height"},
      {"P5\n1 1\n65536\n12", "found no largest code from 1 to 65535"},
      {"P5\n2 2\n255\n123", "found it cut off after 14 bytes"},
      {"P5\n2 1\n256\n123", "found it cut off"},
      {"P5\n1 1\n255", "found it cut off"},
      {"P5#", "found no width"},
      {Bytes(kPng16).substr(0, 60), "found damage"},
      {Bytes(kPng8).substr(0, 20), "found damage"},
  };
  for (const Case& c : cases) {
    const std::string path = Write("b.pgm", c.content);
    const std::string error = test::ErrorOf([&] { LoadGreyPicture(path); });
    EXPECT_EQ(error.rfind(path + ": expected a PGM (P5) or PNG picture of 8 or 16 bits, ", 0), 0u);
    EXPECT_NE(error.find(c.message), std::string::npos) << error;
  }
  EXPECT_NE(test::ErrorOf([] { LoadGreyPicture("/nosuch.pgm"); }).find("/nosuch.pgm"),
            std::string::npos);
}

// A dark half fills a square by its middle: 16 of its columns.
TEST_F(MatchFiles, APhotographFillsTheImage) {
  const Image image =
      MakeScene(Write("half.png", Bytes(kHalf)), 64, 64, 1)->Render({-8, 0, 72, 64});
  for (int x : {0, 8, 36}) EXPECT_EQ(image.Row(30)[x], 0) << x;
  for (int x : {40, 60, 79}) EXPECT_FLOAT_EQ(image.Row(30)[x], 1) << x;
}

// A white field of 160 x 26 pixels: an interval of the map's columns is ten of them.
template <class Light>
std::string Field(Light light) {
  std::string field = "P5\n160 26\n255\n";
  for (int i = 0; i < 160 * 26; ++i) field += static_cast<char>(light(i % 160));
  return field;
}

TEST_F(MatchFiles, GainsAreReadFromNumbersOrWhiteFields) {
  for (const char* text :
       {"[[1, 1.5, 2], [0.5, 1, 3]]", "1,1.5,2\n0.5, 1 ,3\n", "1,1.5,2\r\n.5,1,3"}) {
    const std::string path = Write("g", text);
    for (const GainMap& map : LoadGainMaps(path, path, 0)) {
      EXPECT_EQ(map.columns * 10 + map.rows, 32) << text;
      EXPECT_EQ(map.gains, (std::vector<double>{1, 1.5, 2, 0.5, 1, 3})) << text;
    }
  }
  // Above black, the right view has 0.8 of the left one's light, and the left half half of the
  // right one's: up to the middle between columns 8 and 9.
  const auto maps =
      LoadGainMaps(Write("left.pgm", Field([](int x) { return x < 85 ? 60 : 110; })),
                   Write("right.pgm", Field([](int x) { return x < 85 ? 50 : 90; })), 10);
  for (size_t view : {0u, 1u}) {
    ASSERT_EQ(maps[view].columns * 100 + maps[view].rows, 1713);
    for (size_t entry : {0u, 8u, 17u, 12u * 17 + 8})
      EXPECT_DOUBLE_EQ(maps[view].gains[entry], view == 0 ? 2 : 2.5) << entry;
    for (size_t entry : {9u, 16u, 12u * 17 + 9})
      EXPECT_DOUBLE_EQ(maps[view].gains[entry], view == 0 ? 1 : 1.25) << entry;
  }
  // On a ramp of one code for a pixel each entry has the light of its place, those at the edges
  // too. Pixel x covers x to x + 1.
  const std::string ramp = Write("ramp.pgm", Field([](int x) { return 90 + x; }));
  for (const GainMap& map : LoadGainMaps(ramp, ramp, 0))
    for (size_t entry = 0; entry < 17; ++entry)
      EXPECT_NEAR(map.gains[entry], 249.5 / (89.5 + 10 * static_cast<double>(entry)), 1e-9);
}

TEST_F(MatchFiles, BadGainsAreNamed) {
  const std::string even = Field([](int) { return 200; });
  struct Case {
    std::string text;
    const char* message;
    std::string other = "[[1, 1], [1, 1]]";  // of the left view, when the text is the right one's
  };
  const Case cases[] = {
      {"", "can be read"},
      {"[[1, 1], [1]]", "row 1: expected 2 gains as in the first row, found 1"},
      {"[[1, 1], 3]", "row 1: expected an array of gains, found 3"},
      {"[[1, \"a\"], [1, 1]]", "row 0: expected a number, found \"a\""},
      {"[[1, 4], [1, 1]]", "row 0: expected gains from 0.1 to 3.99, found 4"},
      {"[[1, 1]", "expected JSON"},
      {"[[1, 1]]", "expected 2 x 2 to 475 gains, found 2 x 1"},
      {"1,1\n1;1\n", "line 2: expected numbers with commas between them, found 1;1"},
      {"1,1\n1,\n", "line 2: expected numbers"},
      {"1,nan\n1,1\n", "line 1: expected gains"},
      {"  ", "line 1: expected numbers"},
      {"[[1, 1, 1], [1, 1, 1]]", "expected a map of the size of that in"},
      {even, "expected a map of numbers as in"},
      {"[[1, 1], [1, 1]]", "expected a white field as in", even},
      {"P5\n4 4\n255\n0123456789abcdef", "expected a white field of at least 34 x 13 pixels", even},
      {Field([](int x) { return x < 80 ? 60 : 200; }), "at least a quarter of the light", even},
      {"P5\n34 13\n15\n" + std::string(34 * 13, '\x0f'), "expected a white field of 8 bits", even},
  };
  for (const Case& c : cases) {
    const std::string path = Write("g", c.text);
    const std::string error =
        test::ErrorOf([&] { LoadGainMaps(Write("other", c.other), path, 20); });
    EXPECT_EQ(error.rfind(path, 0), 0u) << error;
    EXPECT_NE(error.find(c.message), std::string::npos) << c.text << ": " << error;
  }
}

}  // namespace
