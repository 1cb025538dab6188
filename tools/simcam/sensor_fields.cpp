#include "sensor_fields.h"

#include <cstring>

namespace simcam {
namespace {

using Sensor = SensorDescription;
using Target = FieldTarget;
using enum FieldOf;

constexpr bool kRequired = true;
constexpr bool kOptional = false;

Target Object(Sensor&) {
  return std::monostate();
}

const char* const kPixels =
    "PD pixels of the block: an even number of [x, y, type], x and y from the block's corner; no "
    "two at one place, as many of type 0 as of type 1";

std::vector<SensorField> MakeFields() {
  return {
      {"name", kAll, kRequired, "", "what the sensor is called in reports",
       [](Sensor& s) -> Target { return &s.name; }},
      {"about", kAll, kOptional, "", "what is special about it, one line",
       [](Sensor& s) -> Target { return &s.about; }},
      {"image", kAll, kRequired, "pixels", "width and height of the image",
       [](Sensor& s) -> Target {
         return IntegerPair{&s.imageWidth, &s.imageHeight};
       },
       64, kLargestSide},
      {"orientation",
       kAll,
       kOptional,
       "",
       "how the image is read out",
       [](Sensor& s) -> Target { return &s.orientation; },
       0,
       0,
       {},
       {"default", "mirror", "flip", "mirror-and-flip"}},
      {"sensor_type", kAll, kRequired, "",
       "the library's type: 1 and 2 deliver PD pixels in a buffer of their own, 3 inside the "
       "frame; "
       "4 and 5 are dual-PD, with both samples at every site",
       [](Sensor& s) -> Target { return &s.sensorType; }, 1, 5},
      {"pixel_depth", kAll, kOptional, "bits", "of a code",
       [](Sensor& s) -> Target { return &s.pixelDepth; }, 8, 14},
      {"black_level", kAll, kOptional, "codes", "code of no light, up to half of the largest code",
       [](Sensor& s) -> Target { return &s.blackLevel; }, 0, 8191},
      {"white_level",
       kAll,
       kOptional,
       "codes",
       "code of white in the scene where the lens doesn't shade, above black_level",
       [](Sensor& s) -> Target { return &s.whiteLevel; },
       1,
       16383,
       {},
       {},
       "three quarters of the way from black_level to the largest code"},
      {"pd_offset_correction", kAll, kOptional, "pixels",
       "what the library is told to take off each phase difference; the module's views stand apart "
       "by "
       "as much",
       [](Sensor& s) -> Target { return &s.pdOffsetCorrection; }, -9.99, 9.99},

      {"blocks", kSparse, kRequired, "", "blocks of PD pixels across and down the image",
       [](Sensor& s) -> Target {
         return IntegerPair{&s.blocksAcross, &s.blocksDown};
       },
       1, kLargestSide},
      {"native", kSparse, kRequired, "",
       "the block of PD pixels that repeats over the image; type 0 belongs to the left view, type "
       "1 "
       "to the right one",
       Object},
      {"native.block", kSparse, kRequired, "pixels", "width and height of the block",
       [](Sensor& s) -> Target {
         return IntegerPair{&s.native.width, &s.native.height};
       },
       1, 1024},
      {"native.offset", kSparse, kOptional, "pixels", "corner of the first block in the image",
       [](Sensor& s) -> Target {
         return IntegerPair{&s.native.offsetX, &s.native.offsetY};
       },
       0, kLargestSide},
      {"native.pixels", kSparse, kRequired, "pixels", kPixels,
       [](Sensor& s) -> Target { return &s.native; }},
      {"buffer", kSparse, kRequired, "", "how PD pixels lie in memory, 16 bits each", Object},
      {"buffer.height", kSparse, kRequired, "lines", "lines of the buffer",
       [](Sensor& s) -> Target { return &s.buffer.height; }, 1, kLargestSide},
      {"buffer.first_pattern", kSparse, kRequired, "",
       "the block that repeats over the buffer (of the first image processor). The native pixel of "
       "type 0 and rank n lies where its n-th pixel of type 1 stands, and the other way round",
       Object},
      {"buffer.first_pattern.block", kSparse, kRequired, "pixels", "width and height of the block",
       [](Sensor& s) -> Target {
         return IntegerPair{&s.buffer.first.width, &s.buffer.first.height};
       },
       1, 1024},
      {"buffer.first_pattern.offset", kSparse, kOptional, "pixels",
       "corner of the first block in the buffer; counts for sensor_type 3",
       [](Sensor& s) -> Target {
         return IntegerPair{&s.buffer.first.offsetX, &s.buffer.first.offsetY};
       },
       0, kLargestSide},
      {"buffer.first_pattern.pixels", kSparse, kRequired, "pixels",
       "as native.pixels, and as many of them",
       [](Sensor& s) -> Target { return &s.buffer.first; }},
      {"buffer.first_width", kSparse, kRequired, "pixels", "width of the buffer's lines",
       [](Sensor& s) -> Target { return &s.buffer.firstWidth; }, 1, kLargestSide},
      {"buffer.first_stride", kSparse, kRequired, "bytes",
       "from line to line: even, at least twice first_width",
       [](Sensor& s) -> Target { return &s.buffer.firstStride; }, 2, 4.0 * kLargestSide},
      {"buffer.overlap", kSparse, kOptional, "pixels",
       "columns that both of two image processors see; 0: there is only one. For sensor_type 3",
       [](Sensor& s) -> Target { return &s.buffer.overlap; }, 0, kLargestSide},
      {"buffer.second_pattern", kSecondIsp, kRequired, "",
       "the block in the second processor's part of a line", Object},
      {"buffer.second_pattern.block", kSecondIsp, kRequired, "pixels", "that of first_pattern",
       [](Sensor& s) -> Target {
         return IntegerPair{&s.buffer.second.width, &s.buffer.second.height};
       },
       1, 1024},
      {"buffer.second_pattern.offset", kSecondIsp, kOptional, "pixels",
       "where the first block begins that only the second processor delivers",
       [](Sensor& s) -> Target {
         return IntegerPair{&s.buffer.second.offsetX, &s.buffer.second.offsetY};
       },
       0, kLargestSide},
      {"buffer.second_width", kSecondIsp, kRequired, "pixels", "width of its lines",
       [](Sensor& s) -> Target { return &s.buffer.secondWidth; }, 1, kLargestSide},
      {"buffer.second_stride", kSecondIsp, kRequired, "bytes",
       "what a line of it takes: even, at least twice second_width",
       [](Sensor& s) -> Target { return &s.buffer.secondStride; }, 2, 4.0 * kLargestSide},
      {"buffer.second_image_x", kSecondIsp, kRequired, "pixels",
       "column of the image at which it begins",
       [](Sensor& s) -> Target { return &s.buffer.secondImageX; }, 0, kLargestSide},

      {"dual", kDual, kRequired, "", "the sites, each with a sample of both views",
       [](Sensor& s) -> Target {
         s.dual.emplace();
         return std::monostate();
       }},
      {"dual.site", kDual, kRequired, "pixels",
       "width and height of a site; sites cover the image without a rest",
       [](Sensor& s) -> Target {
         return IntegerPair{&s.native.width, &s.native.height};
       },
       1, 16},
      {"dual.axis",
       kDual,
       kOptional,
       "",
       "left and right samples, or upper and lower ones; vertical views come as words of one "
       "exposure, left-first, read out straight",
       [](Sensor& s) -> Target { return &s.dual->axis; },
       0,
       0,
       {},
       {"horizontal", "vertical"}},
      {"dual.order",
       kDual,
       kOptional,
       "",
       "which sample of a site comes first",
       [](Sensor& s) -> Target { return &s.dual->isRightFirst; },
       0,
       0,
       {},
       {"left-first", "right-first"}},
      {"dual.packing",
       kDual,
       kOptional,
       "",
       "a byte a sample (pixel_depth 8), four samples in five bytes (pixel_depth 10), or words of "
       "16 "
       "bits",
       [](Sensor& s) -> Target { return &s.dual->packing; },
       0,
       0,
       {},
       {"bytes", "packed-10", "words"}},
      {"dual.stride",
       kDual,
       kOptional,
       "bytes",
       "from line to line",
       [](Sensor& s) -> Target { return &s.buffer.firstStride; },
       1,
       8.0 * kLargestSide,
       {},
       {},
       "what the samples of a line take"},
      {"dual.exposure_ratio", kDual, kOptional, "",
       "above 1, HDR: sites of odd columns are exposed so many times shorter",
       [](Sensor& s) -> Target { return &s.dual->exposureRatio; }, 1, 64},
      {"dual.offset", kDual, kOptional, "",
       "by how much the views stand apart besides the true phase difference; the calibration's "
       "offset "
       "map tells the library. Only read out straight, without pd_offset_correction",
       [](Sensor& s) -> Target {
         s.dual->offset.emplace();
         return std::monostate();
       }},
      {"dual.offset.middle", kDual, kOptional, "pixels", "in the middle of the image",
       [](Sensor& s) -> Target { return &s.dual->offset->middle; }, -8, 8},
      {"dual.offset.right", kDual, kOptional, "pixels", "what the right edge adds",
       [](Sensor& s) -> Target { return &s.dual->offset->right; }, -8, 8},
      {"dual.offset.bottom", kDual, kOptional, "pixels", "what the lower edge adds",
       [](Sensor& s) -> Target { return &s.dual->offset->bottom; }, -8, 8},
      {"noise", kDual, kOptional, "", "noise that the module has of its own", Object},
      {"noise.split", kDual, kOptional, "",
       "share of the light's noise that the two samples of a site have in common with opposite "
       "signs: what one of them doesn't get of the light went to the other",
       [](Sensor& s) -> Target { return &s.dual->splitNoise; }, 0, 1},

      {"calibration", kAll, kOptional, "", "the layout of the module's calibration", Object},
      {"calibration.version", kAll, kOptional, "",
       "of sparse sensors. With one of bits 2 to 7 the maps stand under their own names, with bit "
       "10 "
       "coefficients have 6 fractional bits",
       [](Sensor& s) -> Target { return &s.calibration.version; }, 0, 0xffff},
      {"calibration.gain_map", kAll, kOptional, "entries",
       "columns and rows of the maps of gains, together at most 475; of dual-PD sensors fewer "
       "along "
       "the views than sites",
       [](Sensor& s) -> Target {
         return IntegerPair{&s.calibration.gainMapWidth, &s.calibration.gainMapHeight};
       },
       2, 475},
      {"calibration.dcc_map", kAll, kOptional, "entries",
       "columns and rows of the map of conversion coefficients, together at most 200",
       [](Sensor& s) -> Target {
         return IntegerPair{&s.calibration.dccMapWidth, &s.calibration.dccMapHeight};
       },
       1, 200},
      {"calibration.q_factor", kAll, kOptional, "bits",
       "fractional bits of the coefficients; for sparse sensors 0 means 10",
       [](Sensor& s) -> Target { return &s.calibration.qFactor; }, 0, 14},

      {"lens", kAll, kOptional, "", "the lens and its actuator", Object},
      {"lens.travel", kAll, kOptional, "codes", "first and last code of the actuator",
       [](Sensor& s) -> Target {
         return IntegerPair{&s.lens.travelFrom, &s.lens.travelTo};
       },
       -32768, 32767},
      {"lens.codes_per_px", kAll, kOptional, "codes per pixel",
       "codes that change the true phase difference by one pixel; the calibration's coefficient, "
       "which must fit its 16 bits",
       [](Sensor& s) -> Target { return &s.lens.codesPerPx; }, 0.1, 1000},
      {"lens.microns_per_code", kAll, kOptional, "µm per code", "travel of the lens for a code",
       [](Sensor& s) -> Target { return &s.lens.micronsPerCode; }, 0.001, 1000},
      {"lens.codes_per_ms", kAll, kOptional, "codes per ms", "speed",
       [](Sensor& s) -> Target { return &s.lens.codesPerMs; }, 0.1, 100000},
      {"lens.settling_ms", kAll, kOptional, "ms", "until the swinging after a move has died down",
       [](Sensor& s) -> Target { return &s.lens.settlingMs; }, 0, 1000},
      {"lens.hysteresis_codes", kAll, kOptional, "codes", "play when the direction changes",
       [](Sensor& s) -> Target { return &s.lens.hysteresisCodes; }, 0, 1000},

      {"tuning", kAll, kOptional, "",
       "what the library is tuned to when no tuning file is given; docs/tuning-reference.md tells "
       "more of each",
       Object},
      {"tuning.search_range", kAll, kOptional, "pixels",
       "first and last phase difference that is tried; of dual-PD sensors at most 127 sites to "
       "either "
       "side",
       [](Sensor& s) -> Target {
         return IntegerPair{&s.tuning.searchFrom, &s.tuning.searchTo};
       },
       -1000, 1000},
      {"tuning.box_filter_length",
       kAll,
       kOptional,
       "samples",
       "smoothing along a line; 0 is none",
       [](Sensor& s) -> Target { return &s.tuning.boxFilterLength; },
       0,
       0,
       {0, 2, 4}},
      {"tuning.anti_alias_filter_threshold", kAll, kOptional, "1/1024",
       "band around the neighbours' mean outside of which a sample of a sparse sensor is repaired",
       [](Sensor& s) -> Target { return &s.tuning.antiAliasFilterThreshold; }, 0, 1023},
      {"tuning.vertical_binning",
       kAll,
       kOptional,
       "lines",
       "lines that are added up first (columns of vertical views); sums must fit 16 bits",
       [](Sensor& s) -> Target { return &s.tuning.verticalBinning; },
       0,
       0,
       {1, 2, 4, 8, 16}},
      {"tuning.band_pass", kAll, kOptional, "", "the filter along lines instead of plain smoothing",
       [](Sensor& s) -> Target { return &s.tuning.bandPass; }},
      {"tuning.optimized_parsing", kAll, kOptional, "",
       "sparse sensors: the library reads the buffer in its optimized way",
       [](Sensor& s) -> Target { return &s.tuning.optimizedParsing; }},
      {"tuning.bias_vector_strength", kAll, kOptional, "",
       "how much small shifts are favoured; 0: not at all",
       [](Sensor& s) -> Target { return &s.tuning.biasVectorStrength; }, 0, 1},
      {"tuning.conf_integral_width", kAll, kOptional, "pixels",
       "width around the best shift over which the confidence is summed",
       [](Sensor& s) -> Target { return &s.tuning.confIntegralWidth; }, 1, 1000},
      {"tuning.range_control", kAll, kOptional, "",
       "dual-PD: a shift is plausible up to this share above the best one",
       [](Sensor& s) -> Target { return &s.tuning.rangeControl; }, 0, 10},
      {"tuning.minimum_confidence_level", kAll, kOptional, "",
       "scale of the confidence of sparse sensors; 140 is neutral",
       [](Sensor& s) -> Target { return &s.tuning.minimumConfidenceLevel; }, 1, 1000},
      {"tuning.defocus_confidence_threshold", kAll, kOptional, "",
       "a confidence above it counts as found",
       [](Sensor& s) -> Target { return &s.tuning.defocusConfidenceThreshold; }, 0, 1023},
      {"tuning.static_weight", kAll, kOptional, "",
       "weight of the new frame while the lens stands, in the filter over time",
       [](Sensor& s) -> Target { return &s.tuning.staticWeight; }, 0, 1},
      {"tuning.dynamic_weight", kAll, kOptional, "", "the same while the lens moves",
       [](Sensor& s) -> Target { return &s.tuning.dynamicWeight; }, 0, 1},
      {"tuning.grid_overlap", kAll, kOptional, "", "windows overlap by half",
       [](Sensor& s) -> Target { return &s.tuning.gridOverlap; }},
      {"tuning.overlap_sum_by_columns", kAll, kOptional, "",
       "sparse sensors: sums of overlapping windows step by the grid's columns, which grids that "
       "aren't square need",
       [](Sensor& s) -> Target { return &s.tuning.overlapSumByColumns; }},
      {"tuning.peripheral_windows", kAll, kOptional, "",
       "windows around the ROI are measured when none in it is sure",
       [](Sensor& s) -> Target { return &s.tuning.peripheralWindows; }},
      {"tuning.static_frame_count", kAll, kOptional, "frames",
       "frames without lens movement before frames are skipped",
       [](Sensor& s) -> Target { return &s.tuning.staticFrameCount; }, 1, 1000000},
      {"tuning.max_frame_rate", kAll, kOptional, "frames per s", "frames that are processed then",
       [](Sensor& s) -> Target { return &s.tuning.maxFrameRate; }, 1, 1000},
      {"tuning_mode", kAll, kOptional, "", "sub-mode of Sensor in tuning files; 0: none of its own",
       [](Sensor& s) -> Target { return &s.tuningMode; }, 0, 0xffff},
  };
}

}  // namespace

std::string SensorField::Name() const {
  const char* dot = std::strrchr(path, '.');
  return dot == nullptr ? path : dot + 1;
}

std::string SensorField::Parent() const {
  const char* dot = std::strrchr(path, '.');
  return dot == nullptr ? "" : std::string(path, dot);
}

bool SensorField::IsObject() const {
  SensorDescription defaults = DescriptionOfDefaults();
  return std::holds_alternative<std::monostate>(target(defaults));
}

const std::vector<SensorField>& SensorFields() {
  static const std::vector<SensorField> fields = MakeFields();
  return fields;
}

SensorDescription DescriptionOfDefaults() {
  SensorDescription sensor;
  sensor.dual.emplace().offset.emplace();
  return sensor;
}

}  // namespace simcam
