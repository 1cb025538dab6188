// The framework's small records.
#pragma once

#include <cstdint>

#include "parameterexport.h"
#include "parameterlist.h"
#include "parameterversion.h"
#include "tuningmode.h"

// The stored key of a node of the mode tree.
struct ModeUnion {
  uint16_t mode = 0;
  uint16_t subMode = 0;

  constexpr uint32_t Key() const { return uint32_t{mode} << 16 | subMode; }
  friend constexpr bool operator==(const ModeUnion&, const ModeUnion&) = default;
};

// One line of a listing of fields or modules.
struct PARAMETER_API ParameterParserInfo {
  static constexpr uint32_t kMaxValue = 1024;

  ParameterParserInfo() = default;
  // A structure.
  ParameterParserInfo(const char* name_, const char* type_);
  // A scalar.
  ParameterParserInfo(const char* name_, const char* type_, double number, int decimals);
  // A string or a module; a null text is empty.
  ParameterParserInfo(const char* name_, const char* type_, const char* text);
  // An array.
  ParameterParserInfo(const char* name_, const char* type_, bool isArray_, bool flag_,
                      uint32_t count);

  const char* name = nullptr;  // null when the listing names the field itself
  const char* type = nullptr;  // a schema's word for a kind of field, or "Module"
  char value[kMaxValue] = {};
  bool isArray = false;
  bool flag = false;
  uint32_t arrayCount = 0;
};

// A value with a numeric key: a control or a trigger of the camera stack.
class PARAMETER_API ParameterCTValue {
 public:
  ParameterCTValue() = default;
  ParameterCTValue(uint32_t id, int value) : id_(id), integer_(value), valid_(true) {}
  ParameterCTValue(uint32_t id, unsigned int value) : id_(id), integer_(value), valid_(true) {}
  ParameterCTValue(uint32_t id, long value) : id_(id), integer_(value), valid_(true) {}
  ParameterCTValue(uint32_t id, float value) : ParameterCTValue(id, double{value}) {}
  ParameterCTValue(uint32_t id, double value)
      : id_(id), real_(value), valid_(true), isInteger_(false) {}

  uint32_t GetID() const { return id_; }
  bool IsValid() const { return valid_; }
  bool IsInteger() const { return isInteger_; }
  int64_t GetInteger() const { return integer_; }
  double GetDouble() const { return real_; }

  // The value, or "<id>=<value>"; false if it doesn't fit.
  bool ToString(char* buffer, uint32_t size, bool withId) const;
  // Reads "<id>=<value>"; a value without a point is an integer. False, and not valid, otherwise.
  bool FromString(const char* text);

 private:
  uint32_t id_ = 0;
  int64_t integer_ = 0;
  double real_ = 0.0;
  bool valid_ = false;
  bool isInteger_ = true;
};
