// Stands apart from the targets: it is no code to find ways through.
#include <bit>
#include <type_traits>

#include "small_manager.h"

namespace fuzz {
namespace {

template <class T>
void Mix(const T& value, uint64_t& number) {
  if constexpr (std::is_array_v<T>) {
    for (const auto& element : value) Mix(element, number);
  } else if constexpr (test::TuningRecord<T>) {
    test::EachField(value, [&](const auto& field) {
      if constexpr (test::VariableArray<decltype(field)>) {
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

}  // namespace

uint64_t NumberOf(const PdRecord* record) {
  if (record == nullptr) return 0;
  uint64_t number = 1;
  Mix(*record, number);
  return number;
}

}  // namespace fuzz
