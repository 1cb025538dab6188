// PD tuning records for tests: filled with distinct values, written to a file, told as text.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <deque>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include "afpdlibelements.h"
#include "support/tuning_file.h"

namespace test {

using afpdlibelements::tessarinePDLibType;

template <class T>
concept TuningRecord = requires(const T* record) {
  FieldsOf(record);
};
template <class F>
concept VariableArray = requires(F field) {
  field.elements;
};

template <class R, class Visit>
void EachField(R&, Visit visit) {
  const auto& fields = FieldsOf(static_cast<const R*>(nullptr));
  std::apply([&](const auto&... field) { (visit(field), ...); }, fields);
}

// A record whose every value is another, with `arrays` elements in each variable array.
class PdSource {
 public:
  explicit PdSource(uint32_t arrays = 2, int32_t first = 1) : arrays_(arrays), next_(first) {
    fill(record_);
  }
  PdSource(const PdSource&) = delete;
  PdSource& operator=(const PdSource&) = delete;

  tessarinePDLibType& record() { return record_; }
  // The record as it stands in `file`, whose objects get its arrays and texts.
  Bytes write(TuningFile& file) const {
    FieldWriter writer(file.alignment());
    write(record_, writer, file);
    return writer.bytes;
  }

 private:
  template <class T>
  void fill(T& value) {
    if constexpr (std::is_array_v<T>) {
      for (auto& element : value) fill(element);
    } else if constexpr (TuningRecord<T>) {
      EachField(value, [&](const auto& field) {
        if constexpr (VariableArray<decltype(field)>) {
          value.*field.count = arrays_;
          value.*field.elements =
              make<std::remove_pointer_t<std::remove_cvref_t<decltype(value.*field.elements)>>>(
                  arrays_);
        } else {
          fill(value.*field.member);
        }
      });
    } else if constexpr (std::is_pointer_v<T>) {
      const std::string text = std::string("text ") + std::to_string(next_++);
      value = make<char>(text.size() + 1);
      std::strcpy(value, text.c_str());
    } else if constexpr (std::is_enum_v<T>) {
      value = static_cast<T>(next_++ % 2);
    } else {
      value = static_cast<T>(next_ % 2 == 0 ? next_ : -next_);
      ++next_;
      if constexpr (std::is_same_v<T, float>) value *= 0.25f;
    }
  }
  template <class T>
  T* make(size_t count) {
    if (count == 0) return nullptr;
    memory_.emplace_back(count * sizeof(T) / sizeof(uint64_t) + 1);
    auto* elements = reinterpret_cast<T*>(memory_.back().data());
    if constexpr (!std::is_same_v<T, char>) {
      for (size_t i = 0; i < count; ++i) fill(*new (elements + i) T{});
    }
    return elements;
  }

  template <class T>
  void write(const T& value, FieldWriter& writer, TuningFile& file) const {
    if constexpr (std::is_array_v<T>) {
      for (const auto& element : value) write(element, writer, file);
    } else if constexpr (TuningRecord<T>) {
      EachField(value, [&](const auto& field) {
        if constexpr (VariableArray<decltype(field)>) {
          writeArray(value.*field.elements, value.*field.count, writer, file);
        } else {
          write(value.*field.member, writer, file);
        }
      });
    } else if constexpr (std::is_pointer_v<T>) {
      const auto length = static_cast<uint32_t>(std::strlen(value));
      writer.word(length);
      writer.word(file.addObject(Bytes(value, value + length)));
    } else {
      uint32_t word;
      std::memcpy(&word, &value, 4);
      writer.word(word);
    }
  }
  template <class T>
  void writeArray(const T* elements, uint32_t count, FieldWriter& writer, TuningFile& file) const {
    FieldWriter object(TuningRecord<T> ? file.alignment() : 1);
    for (uint32_t i = 0; i < count; ++i) write(elements[i], object, file);
    writer.word(count);
    writer.word(count == 0 ? 0xDEAD : file.addObject(object.bytes));
  }

  uint32_t arrays_;
  int32_t next_;
  std::deque<std::vector<uint64_t>> memory_;
  tessarinePDLibType record_{};
};

// Every field on a line of its own, as "path=value".
template <class T>
void Describe(const T& value, const std::string& path, std::string& text) {
  if constexpr (std::is_array_v<T>) {
    for (size_t i = 0; i < std::extent_v<T>; ++i)
      Describe(value[i], path + "[" + std::to_string(i) + "]", text);
  } else if constexpr (TuningRecord<T>) {
    EachField(value, [&](const auto& field) {
      const std::string name = path + "." + field.name;
      if constexpr (VariableArray<decltype(field)>) {
        text += name + "Count=" + std::to_string(value.*field.count) + "\n";
        for (uint32_t i = 0; i < value.*field.count; ++i)
          Describe((value.*field.elements)[i], name + "[" + std::to_string(i) + "]", text);
      } else {
        Describe(value.*field.member, name, text);
      }
    });
  } else if constexpr (std::is_pointer_v<T>) {
    text += path + "=" + (value == nullptr ? "(null)" : value) + "\n";
  } else if constexpr (std::is_enum_v<T>) {
    text += path + "=" + std::to_string(static_cast<uint32_t>(value)) + "\n";
  } else {
    text += path + "=" + std::to_string(value) + "\n";
  }
}

inline std::string Describe(const tessarinePDLibType& record) {
  std::string text;
  Describe(record, "", text);
  return text;
}

// The lines of Describe whose values are not 0.
inline std::string DescribeSet(const tessarinePDLibType& record) {
  std::istringstream lines(Describe(record));
  std::string text;
  for (std::string line; std::getline(lines, line);) {
    const std::string value = line.substr(line.find('=') + 1);
    if (value != "0" && value != "0.000000" && value != "(null)") text += line + "\n";
  }
  return text;
}

// A number made of every value, and of every byte of texts and arrays: quicker than Describe.
template <class T>
void Mix(const T& value, uint64_t& number) {
  if constexpr (std::is_array_v<T>) {
    for (const auto& element : value) Mix(element, number);
  } else if constexpr (TuningRecord<T>) {
    EachField(value, [&](const auto& field) {
      if constexpr (VariableArray<decltype(field)>) {
        for (uint32_t i = 0; i < value.*field.count; ++i) Mix((value.*field.elements)[i], number);
        Mix(value.*field.count, number);
      } else {
        Mix(value.*field.member, number);
      }
    });
  } else if constexpr (std::is_pointer_v<T>) {
    for (const char* c = value; c != nullptr && *c != '\0'; ++c)
      Mix(static_cast<uint32_t>(static_cast<uint8_t>(*c)), number);
  } else {
    constexpr uint64_t kPrime = 0x100000001B3;
    number = (number ^ std::bit_cast<uint32_t>(value)) * kPrime;
  }
}

inline uint64_t NumberOf(const tessarinePDLibType& record) {
  uint64_t number = 1;
  Mix(record, number);
  return number;
}

constexpr VersionUnion kPdVersion{9, 0, 0};

// Adds the record as the module of a mode; its index.
inline size_t AddPd(TuningFile& file, const PdSource& source, uint32_t modeId,
                    uint32_t duplicateOf = 0) {
  const Bytes data = source.write(file);
  file.modules.push_back({"PDLib", kPdVersion, modeId, data, duplicateOf});
  return file.modules.size() - 1;
}
// Adds one with an element in each array, which its focus map switch tells from others.
inline size_t AddNumberedPd(TuningFile& file, uint32_t modeId, int32_t number, int32_t first = 1) {
  PdSource source(1, first);
  source.record().enableFocusMaps = number;
  return AddPd(file, source, modeId);
}

}  // namespace test
