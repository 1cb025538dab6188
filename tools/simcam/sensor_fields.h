// The fields of a sensor description. From this one table a file is read and checked, and the
// schema and the page of documentation are written.
#pragma once

#include <string>
#include <variant>
#include <vector>

#include "sensor.h"

namespace simcam {

inline constexpr int kLargestSide = 16384;
inline constexpr int kLargestPattern = 64;  // PD pixels of a block
inline constexpr int kFirstDualType = 4;    // sensor types from here on are dual-PD

struct IntegerPair {
  int* first;
  int* second;
};

// Where a field's value goes. A monostate stands for an object, whose fields follow in the table
// with their paths; a Pattern takes a list of PD pixels inside its block. Words go to an
// enumeration or a choice of two, by their place in the list.
using FieldTarget = std::variant<std::monostate, int*, double*, bool*, std::string*, IntegerPair,
                                 Pattern*, Orientation*, ViewAxis*, SamplePacking*>;

enum class FieldOf {
  kAll,
  kSparse,     // sensor_type 1 to 3
  kDual,       // sensor_type 4 and 5
  kSecondIsp,  // sparse sensors with buffer.overlap
};

struct SensorField {
  const char* path;
  FieldOf of;
  bool isRequired;
  const char* unit;
  const char* meaning;
  FieldTarget (*target)(SensorDescription& sensor);
  double low = 0;  // of numbers, each of a pair
  double high = 0;
  std::vector<int> choices = {};  // the only integers that are taken
  std::vector<std::string> words = {};
  const char* fallback = nullptr;  // the default in words, when it depends on other fields

  // The path's last name, and that of the object that it stands in.
  std::string Name() const;
  std::string Parent() const;
  bool IsObject() const;
};

// Objects come before their fields; a field that others depend on comes before them.
const std::vector<SensorField>& SensorFields();

// A description in which every optional part is there, with its default.
SensorDescription DescriptionOfDefaults();

// A JSON schema of the descriptions (draft 2020-12). It tells what each field may be; how fields
// must fit together is checked by the reader alone.
std::string SensorSchema();
// The fields as tables for people, in Markdown.
std::string SensorFieldTables();

}  // namespace simcam
