// Sources for tests, and models made by chance.
#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <random>
#include <sstream>
#include <string>

#include "errors.h"
#include "file_reader.h"
#include "file_writer.h"
#include "model.h"
#include "modes.h"
#include "source.h"

namespace test {

using tessarine::Bytes;
using tessarine::Model;

inline constexpr const char* kFormats[] = {"1.0.1", "1.0.2", "1.1.0", "2.0.0", "3.0.0",
                                           "3.0.1", "3.0.2", "4.0.0", "5.0.0"};

inline Model FromSource(const std::string& text, const std::string& format = "") {
  return tessarine::ReadSource(text, "test.json", {format});
}

// What is wrong with a source.
inline std::string FaultsOf(const std::string& text) {
  try {
    FromSource(text);
  } catch (const tessarine::InputError& error) {
    return error.what();
  }
  return "";
}

inline std::string Joined(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) text += line + "\n";
  return text;
}

// The model of a sound file.
inline Model FromFile(const Bytes& file) {
  const tessarine::FileReading reading = tessarine::ReadFile(file);
  EXPECT_EQ(Joined(reading.defects), "");
  return reading.model;
}

// Without what only files have: the numbers of modules, their order by them; or only sources:
// notes.
inline Model Plain(Model model) {
  for (tessarine::Mode& mode : model.modes) {
    mode.label.clear();
    for (tessarine::Module& module : mode.modules) module.id = 0;
  }
  return model;
}

// Models made by chance: every kind of value, trees of modes, equal modules, modules of unknown
// fields.
class ModelMaker {
 public:
  explicit ModelMaker(uint32_t seed) : random_(seed) {}

  Model Make(const tessarine::Version& version) {
    const tessarine::Format format(version);
    Model model;
    model.format = version;
    if (format.HasTexts()) model.tool = "maker";
    if (format.HasTexts()) model.tag = Text(64);
    if (format.HasFlags()) model.flags = Below(2) * (uint64_t{1} << 63 | 5);
    if (format.HasModeText()) model.modeText = "modes";
    if (format.HasDataTable()) model.hasDataTable = Below(3) != 0;
    model.sharesEqual = Below(4) != 0 || !format.HasDuplicates();
    const uint32_t count = 1 + Below(6);
    for (uint32_t id = 0; id < count; ++id) {
      tessarine::Mode mode;
      mode.id = id;
      mode.parent = id == 0 ? 0 : Below(id);
      // No two alike: a mode beside its equal is never found.
      mode.key = id == 0 ? tessarine::ModeKey{}
                         : tessarine::ModeKey{static_cast<uint16_t>(1 + Below(8)),
                                              static_cast<uint16_t>(id)};
      if (format.HasLinks() && id > 1 && Below(3) == 0) mode.link = Below(id);
      if (format.HasModeFlags()) mode.flags = Below(2);
      if (Below(3) != 0) mode.modules.push_back(KnownModule());
      if (Below(3) == 0) mode.modules.push_back(RawModule());
      model.modes.push_back(mode);
    }
    model.hasWideSymbols =
        format.Alignment() == 8 && model.modes[0].modules.size() > 0 && Below(2) == 0;
    return model;
  }

  uint32_t Below(uint32_t limit) { return static_cast<uint32_t>(random_()) % limit; }

 private:
  std::string Text(uint32_t longest) {
    std::string text;
    for (uint32_t i = Below(longest); i > 0; --i) text += static_cast<char>('!' + Below(90));
    return text;
  }
  tessarine::Module RawModule() {
    tessarine::Module module;
    module.type = "abf34_ife";
    module.version = {3, static_cast<uint16_t>(Below(3)), 7};
    for (uint32_t i = Below(80); i > 0; --i) module.raw.push_back(static_cast<uint8_t>(Below(256)));
    return module;
  }
  tessarine::Module KnownModule() {
    const tessarine::ModuleSchema& schema = tessarine::KnownModules().front();
    tessarine::Module module;
    module.type = tessarine::ShortType(schema.name);
    module.version = schema.version;
    // A few kinds, so that modes have equal modules and arrays.
    std::mt19937 rest = random_;
    random_.seed(Below(3));
    module.value = Record(*schema.root);
    random_ = rest;
    random_();
    return module;
  }
  tessarine::Value Record(const tessarine::RecordSchema& record) {
    tessarine::Value value;
    for (const tessarine::FieldSchema& field : record.fields) {
      if (!field.IsArray()) {
        value.parts.push_back(Element(field));
        continue;
      }
      tessarine::Value& array = value.parts.emplace_back();
      for (uint32_t i = field.isVariable ? Below(4) : field.fixedCount; i > 0; --i)
        array.parts.push_back(Element(field));
    }
    return value;
  }
  tessarine::Value Element(const tessarine::FieldSchema& field) {
    using tessarine::FieldKind;
    if (field.kind == FieldKind::kStructure) return Record(*field.record);
    tessarine::Value value;
    if (field.kind == FieldKind::kString)
      value.text = Below(8) == 0 ? "\xff\x01 no UTF-8" : Below(8) == 0 ? "ü\"\t\n" : Text(12);
    else if (field.kind == FieldKind::kEnum)
      value.bits = Below(field.lastValue + 1);
    else if (Below(4) == 0)
      value.bits = kOddFloats[Below(std::size(kOddFloats))];
    else
      value.bits = Below(2) == 0 ? static_cast<uint32_t>(random_()) : Below(2);
    return value;
  }

  // Minus zero, denormal ones, the largest, infinite ones, no number, and 0.1.
  static constexpr uint32_t kOddFloats[] = {0x80000000, 1,          0x007fffff,
                                            0x00800000, 0x7f7fffff, 0x7f800000,
                                            0xff800000, 0x7fc00001, 0x3dcccccd};
  std::mt19937 random_;
};

}  // namespace test
