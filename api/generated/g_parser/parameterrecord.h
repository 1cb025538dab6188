// The operations of every tuning record, derived from the table of its fields: reading from a file,
// releasing, text access, listing.
//
// A path is names joined by points; a bracketed index selects an element of an array. Count and
// symbol of an array can't be addressed.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdio>
#include <cstring>
#include <limits>
#include <tuple>
#include <type_traits>
#include <utility>

#include "base/numeric.h"
#include "orvo/memory.h"
#include "orvo/osutils.h"
#include "parameterfilesymboltable.h"
#include "parameterlogging.h"
#include "parametertypes.h"
#include "parameterutils.h"
#include "tuningfields.h"

namespace tuning {

using Entry = ParameterFileSymbolTableEntry;
using InfoList = PList<ParameterParserInfo>;

template <class T>
concept Record = requires(const T* record) {
  FieldsOf(record);
};

template <class R>
constexpr auto& kFieldsOf = FieldsOf(static_cast<const R*>(nullptr));
template <class R>
constexpr const char* kNameOf = NameOf(static_cast<const R*>(nullptr));

// Calls `visit(field, index)` in the order of the file until it gives false.
template <Record R, class Visit>
bool AllFields(Visit visit) {
  return std::apply(
      [&](const auto&... fields) {
        int index = 0;
        return (visit(fields, index++) && ...);
      },
      kFieldsOf<R>);
}

// ---- Kinds of fields

template <class R, class M>
constexpr bool IsVariableArray(const Field<R, M>&) {
  return false;
}
template <class R, class M>
constexpr bool IsVariableArray(const EnumField<R, M>&) {
  return false;
}
template <class R, class E>
constexpr bool IsVariableArray(const ArrayField<R, E>&) {
  return true;
}

template <class R, class M>
constexpr FieldKind KindOf(const Field<R, M>& field) {
  return field.kind;
}
template <class R, class M>
constexpr FieldKind KindOf(const EnumField<R, M>&) {
  return FieldKind::kEnum;
}
template <class R, class E>
constexpr FieldKind KindOf(const ArrayField<R, E>& field) {
  return field.kind;
}

// The elements of an array in a record, fixed or variable.
template <class T>
struct Elements {
  T* first;
  uint32_t count;
};

// ---- Size in the file

template <Record R>
uint64_t FileSize(uint32_t alignment);

template <class T>
uint64_t FileSizeOf(uint32_t alignment) {
  const uint64_t word = std::max<uint32_t>(4, alignment);
  if constexpr (std::is_array_v<T>) {
    return std::extent_v<T> * FileSizeOf<std::remove_extent_t<T>>(alignment);
  } else if constexpr (Record<T>) {
    return FileSize<T>(alignment);
  } else {
    return std::is_pointer_v<T> ? 2 * word : word;  // length or count, and symbol
  }
}

// What a record takes inline.
template <Record R>
uint64_t FileSize(uint32_t alignment) {
  uint64_t size = 0;
  AllFields<R>([&](const auto& field, int) {
    if constexpr (IsVariableArray(std::remove_cvref_t<decltype(field)>{})) {
      size += FileSizeOf<void*>(alignment);
    } else {
      size += FileSizeOf<std::remove_reference_t<decltype(std::declval<R&>().*field.member)>>(
          alignment);
    }
    return true;
  });
  return size;
}

// ---- Load

template <Record R>
bool LoadRecord(R& record, Entry& entry, uint32_t alignment);

// A value that this schema doesn't know is logged and reads as 0, so that newer files load.
template <class Enum>
bool ReadEnum(Entry& entry, Enum& field, uint32_t alignment) {
  bool success = false;
  const uint32_t value = entry.ReadEnum(&success, alignment);
  field = static_cast<Enum>(value <= EnumTraits<Enum>::kLast ? value : 0);
  if (value > EnumTraits<Enum>::kLast)
    PARAMETER_WARNING(entry.GetTable()->GetLogger(), "Invalid value(%u) converting UINT32 to %s",
                      value, EnumTraits<Enum>::kName);
  return success;
}

inline bool LoadValue(int32_t& value, Entry& entry, uint32_t alignment) {
  uint32_t word = 0;
  if (!entry.ReadWord(word, alignment)) return false;
  value = std::bit_cast<int32_t>(word);
  return true;
}
inline bool LoadValue(float& value, Entry& entry, uint32_t alignment) {
  uint32_t word = 0;
  if (!entry.ReadWord(word, alignment)) return false;
  value = std::bit_cast<float>(word);
  return true;
}
inline bool LoadValue(char*& text, Entry& entry, uint32_t alignment) {
  uint32_t length = 0;
  return entry.ReadWord(length, alignment) && entry.ReadString(&text, length, alignment);
}
template <Record R>
bool LoadValue(R& record, Entry& entry, uint32_t alignment) {
  return LoadRecord(record, entry, alignment);
}
template <class T, size_t Count>
bool LoadValue(T (&elements)[Count], Entry& entry, uint32_t alignment) {
  return std::all_of(elements, elements + Count,
                     [&](T& element) { return LoadValue(element, entry, alignment); });
}

template <class R, class M>
bool LoadField(R& record, const Field<R, M>& field, int, Entry& entry, uint32_t alignment) {
  return LoadValue(record.*field.member, entry, alignment);
}
template <class R, class M>
bool LoadField(R& record, const EnumField<R, M>& field, int, Entry& entry, uint32_t alignment) {
  return ReadEnum(entry, record.*field.member, alignment);
}

// Whether the elements can all stand in the data and in memory, asked before they get any.
template <class Element>
bool HasElements(const Entry& objects, uint32_t count, uint32_t alignment) {
  const uint64_t size = Record<Element> ? FileSizeOf<Element>(alignment) : sizeof(Element);
  // The last element's last word needs no padding.
  const uint64_t slack = Record<Element> && alignment > 4 ? alignment - 4 : 0;
  if (count * size <= objects.GetBytesLeft() + slack)
    return objects.GetTable()->MayAllocate(uint64_t{count} * sizeof(Element));
  PARAMETER_ERROR(objects.GetTable()->GetLogger(), "Failed to read symbol table entry\n");
  return false;
}

// An array of records is shared with the fields that name the same object; `place` is the position
// of the field in its record. Scalars are a copy of their own.
template <class Element>
bool LoadElements(Element* elements, uint32_t count, Entry& objects, uint32_t alignment) {
  if constexpr (!Record<Element>) {
    return objects.ReadBytes(elements, uint64_t{count} * sizeof(Element), alignment);
  } else {
    return std::all_of(elements, elements + count,
                       [&](Element& element) { return LoadRecord(element, objects, alignment); });
  }
}

template <class R, class Element>
bool LoadField(R& record, const ArrayField<R, Element>& field, int place, Entry& entry,
               uint32_t alignment) {
  uint32_t& count = record.*field.count;
  Element*& elements = record.*field.elements;
  if (!entry.ReadWord(count, alignment)) return false;
  if (count == 0) return entry.ReadWord(record.*field.id, alignment);

  Entry objects;
  ParameterFileSymbolTable* table = entry.GetTable();
  const auto fail = [&] {
    count = 0;
    return false;
  };
  if (!table->ReadPointerEntry(entry, objects, alignment)) return fail();
  record.*field.id = objects.GetID();
  if (!HasElements<Element>(objects, count, alignment)) return fail();
  if (elements != nullptr) return true;
  elements = static_cast<Element*>(objects.GetDupObject(count, kNameOf<R>, place));
  if (elements != nullptr) return true;
  elements = static_cast<Element*>(table->Allocate(uint64_t{count} * sizeof(Element)));
  if (elements == nullptr) {
    PARAMETER_ERROR(table->GetLogger(), "Failed to allocate %s\n", field.name);
    count = 0;
    return true;
  }
  if constexpr (Record<Element>) objects.SetDupObject(elements, count, kNameOf<R>, place);
  return LoadElements(elements, count, objects, alignment);
}

// Fields that were read stay when a later one fails; the others must be zero before.
template <Record R>
bool LoadRecord(R& record, Entry& entry, uint32_t alignment) {
  return AllFields<R>([&](const auto& field, int place) {
    return LoadField(record, field, place, entry, alignment);
  });
}

// ---- Unload

template <Record R>
void UnloadRecord(R& record, ParameterFileSymbolTable* table);

template <class T>
void UnloadValue(T& value, ParameterFileSymbolTable* table) {
  if constexpr (std::is_array_v<T>) {
    for (auto& element : value) UnloadValue(element, table);
  } else if constexpr (Record<T>) {
    UnloadRecord(value, table);
  } else if constexpr (std::is_pointer_v<T>) {
    if (value != nullptr && table != nullptr && table->ReleaseDupObject(value)) OrvoFree(value);
    value = nullptr;
  }
}

// The elements of a shared array are emptied by its last user.
template <class R, class Element>
void UnloadArray(R& record, const ArrayField<R, Element>& field, ParameterFileSymbolTable* table) {
  Element*& elements = record.*field.elements;
  if (elements != nullptr && table != nullptr && table->ReleaseDupObject(elements)) {
    if constexpr (Record<Element>) {
      for (uint32_t i = 0; i < record.*field.count; ++i) UnloadRecord(elements[i], table);
    }
    OrvoFree(elements);
  }
  elements = nullptr;
  record.*field.count = 0;
  record.*field.id = 0;
}

// Releases what the record points at; scalars keep their values.
template <Record R>
void UnloadRecord(R& record, ParameterFileSymbolTable* table) {
  AllFields<R>([&](const auto& field, int) {
    if constexpr (IsVariableArray(std::remove_cvref_t<decltype(field)>{})) {
      UnloadArray(record, field, table);
    } else {
      UnloadValue(record.*field.member, table);
    }
    return true;
  });
}

// Zeroes the scalars of a record that holds no pointers.
template <class T>
void ClearValue(T& value) {
  if constexpr (std::is_array_v<T>) {
    for (auto& element : value) ClearValue(element);
  } else if constexpr (Record<T>) {
    AllFields<T>([&](const auto& field, int) {
      if constexpr (!IsVariableArray(std::remove_cvref_t<decltype(field)>{}))
        ClearValue(value.*field.member);
      return true;
    });
  } else if constexpr (!std::is_pointer_v<T>) {
    value = T{};
  }
}

// ---- Text access

// One step of a path.
struct PathStep {
  explicit PathStep(const char* path) {
    if (path != nullptr)
      rest = path + ParameterUtils::GetVariable(path, name, &index, sizeof(name));
  }
  bool IsLast() const { return *rest == '\0'; }
  bool HasIndex() const { return index != ParameterUtils::kNoIndex; }

  char name[ParameterUtils::kMaxVariable + 1] = {};
  uint32_t index = ParameterUtils::kNoIndex;
  const char* rest = "";
};

template <Record R>
bool GetRecordValue(const R& record, const char* path, char* buffer, uint32_t size);
template <Record R>
bool SetRecordValue(R& record, const char* path, const char* value);
template <Record R>
bool GetRecordInfo(const R& record, const char* path, InfoList& list);

// Calls `visit(field)` for the field of this name; false if there is none.
template <Record R, class Visit>
bool WithField(const char* name, Visit visit) {
  bool result = false;
  AllFields<R>([&](const auto& field, int) {
    if (std::strcmp(name, field.name) != 0) return true;
    result = visit(field);
    return false;
  });
  return result;
}

template <class T>
constexpr bool kIsScalar =
    std::is_same_v<T, int32_t> || std::is_same_v<T, float> || std::is_enum_v<T>;
template <class T>
constexpr int kDecimals = std::is_same_v<T, float> ? 10 : 0;

template <class T>
double AsDouble(const T& value) {
  if constexpr (std::is_enum_v<T>) {
    return static_cast<double>(static_cast<uint32_t>(value));
  } else {
    return static_cast<double>(value);
  }
}

template <class T>
T FromDouble(double number) {
  if constexpr (std::is_same_v<T, float>) {
    constexpr double kMax = std::numeric_limits<float>::max();
    return static_cast<float>(std::clamp(number, -kMax, kMax));
  } else if constexpr (std::is_enum_v<T>) {
    return static_cast<T>(pdlib::ToUint32(number));
  } else {
    return pdlib::ToInt32(number);
  }
}

// A value that is neither an array nor a part of one.
template <class T>
bool GetText(const T& value, char* buffer, uint32_t size) {
  if constexpr (kIsScalar<T>) {
    bool success = false;
    ParameterUtils::DoubleToString(AsDouble(value), buffer, size, kDecimals<T>, &success);
    return success;
  } else {
    const char* text = value == nullptr ? "" : value;
    return Orvo::OsUtils::StrLCpy(buffer, text, size) < size;
  }
}

template <class T>
bool SetText(T& value, const char* text) {
  if constexpr (kIsScalar<T>) {
    bool success = false;
    const double number = ParameterUtils::StringToDouble(text, &success);
    if (success) value = FromDouble<T>(number);
    return success;
  } else {
    return false;  // the text belongs to the file
  }
}

// All elements, joined by ",".
template <class T>
bool GetAll(Elements<const T> elements, char* buffer, uint32_t size) {
  uint32_t length = 0;
  for (uint32_t i = 0; i < elements.count; ++i) {
    if (i != 0) {
      if (length + 1 >= size) return false;
      buffer[length++] = ',';
    }
    if (!GetText(elements.first[i], buffer + length, size - length)) return false;
    length += static_cast<uint32_t>(std::strlen(buffer + length));
  }
  return true;
}

// Element after element; one that is no number is passed over, and its place keeps its value.
template <class T>
void SetAll(Elements<T> elements, const char* text) {
  constexpr size_t kMaxElement = 512;
  for (uint32_t i = 0; i < elements.count; ++i) {
    char element[kMaxElement];
    const size_t length = std::strcspn(text, ",");
    ParameterUtils::GetSubString(text, ',', element, sizeof(element));
    if (length < sizeof(element)) SetText(elements.first[i], element);
    if (text[length] == '\0') return;
    text += length + 1;
  }
}

// Access to one element, or to the whole array without an index or with one out of range.
template <class T>
bool GetFromArray(Elements<const T> elements, const PathStep& step, char* buffer, uint32_t size) {
  buffer[0] = '\0';
  if constexpr (Record<T>) {
    if (step.index < elements.count)
      return GetRecordValue(elements.first[step.index], step.rest, buffer, size);
    return elements.count == 0 && step.IsLast();
  } else {
    if (!step.IsLast()) return false;
    if (step.index < elements.count) return GetText(elements.first[step.index], buffer, size);
    return GetAll(elements, buffer, size);
  }
}

template <class T>
bool SetInArray(Elements<T> elements, const PathStep& step, const char* text) {
  if constexpr (Record<T>) {
    return step.index < elements.count &&
           SetRecordValue(elements.first[step.index], step.rest, text);
  } else {
    if (!step.IsLast()) return false;
    if (step.index < elements.count) return SetText(elements.first[step.index], text);
    SetAll(elements, text);
    return true;
  }
}

// A list line for an array, or what the index and the rest of the path lead to.
template <class T>
bool ListArray(Elements<const T> elements, FieldKind kind, const char* name, const PathStep& step,
               InfoList& list) {
  if (step.index < elements.count) {
    if constexpr (Record<T>) {
      return GetRecordInfo(elements.first[step.index], step.rest, list);
    } else {
      return step.IsLast() &&
             list.Add({name, KindName(kind), AsDouble(elements.first[step.index]), kDecimals<T>});
    }
  }
  return step.IsLast() && list.Add({name, KindName(kind), true, false, elements.count});
}

template <class T>
bool ListValue(const T& value, FieldKind kind, const char* name, const PathStep& step,
               InfoList& list) {
  if constexpr (std::is_array_v<T>) {
    using Element = std::remove_extent_t<T>;
    return ListArray(Elements<const Element>{value, std::extent_v<T>}, kind, name, step, list);
  } else if constexpr (Record<T>) {
    // A name without more of a path stands for all fields of the record.
    return name == nullptr ? GetRecordInfo(value, step.rest, list)
                           : list.Add({name, KindName(kind)});
  } else if constexpr (kIsScalar<T>) {
    return step.IsLast() && list.Add({name, KindName(kind), AsDouble(value), kDecimals<T>});
  } else {
    return step.IsLast() && list.Add({name, KindName(kind), static_cast<const char*>(value)});
  }
}

// What a field holds, in the form that the functions above take.
template <class R, class F>
decltype(auto) ValueOf(R& record, const F& field) {
  if constexpr (IsVariableArray(F{})) {
    using Element = std::remove_pointer_t<std::remove_cvref_t<decltype(record.*field.elements)>>;
    if constexpr (std::is_const_v<R>) {
      return Elements<const Element>{record.*field.elements, record.*field.count};
    } else {
      return Elements<Element>{record.*field.elements, record.*field.count};
    }
  } else {
    return (record.*field.member);
  }
}

template <Record R>
bool GetRecordValue(const R& record, const char* path, char* buffer, uint32_t size) {
  const PathStep step(path);
  return WithField<R>(step.name, [&](const auto& field) {
    using F = std::remove_cvref_t<decltype(field)>;
    if constexpr (IsVariableArray(F{})) {
      return GetFromArray(ValueOf(record, field), step, buffer, size);
    } else {
      const auto& value = record.*field.member;
      using T = std::remove_cvref_t<decltype(value)>;
      if constexpr (std::is_array_v<T>) {
        using Element = std::remove_extent_t<T>;
        return GetFromArray(Elements<const Element>{value, std::extent_v<T>}, step, buffer, size);
      } else if constexpr (Record<T>) {
        return !step.HasIndex() && GetRecordValue(value, step.rest, buffer, size);
      } else {
        return !step.HasIndex() && step.IsLast() && GetText(value, buffer, size);
      }
    }
  });
}

template <Record R>
bool SetRecordValue(R& record, const char* path, const char* text) {
  const PathStep step(path);
  return WithField<R>(step.name, [&](const auto& field) {
    using F = std::remove_cvref_t<decltype(field)>;
    if constexpr (IsVariableArray(F{})) {
      return SetInArray(ValueOf(record, field), step, text);
    } else {
      auto& value = record.*field.member;
      using T = std::remove_reference_t<decltype(value)>;
      if constexpr (std::is_array_v<T>) {
        using Element = std::remove_extent_t<T>;
        return SetInArray(Elements<Element>{value, std::extent_v<T>}, step, text);
      } else if constexpr (Record<T>) {
        return !step.HasIndex() && SetRecordValue(value, step.rest, text);
      } else {
        return !step.HasIndex() && step.IsLast() && SetText(value, text);
      }
    }
  });
}

template <class R, class F>
bool ListField(const R& record, const F& field, const char* name, const PathStep& step,
               InfoList& list) {
  if constexpr (IsVariableArray(F{})) {
    return ListArray(ValueOf(record, field), KindOf(field), name, step, list);
  } else {
    return ListValue(record.*field.member, KindOf(field), name, step, list);
  }
}

// An empty path lists all fields, a name its own line, without the name.
template <Record R>
bool GetRecordInfo(const R& record, const char* path, InfoList& list) {
  const PathStep step(path);
  const PathStep all("");
  if (step.name[0] == '\0' && step.IsLast()) {
    return AllFields<R>(
        [&](const auto& field, int) { return ListField(record, field, field.name, all, list); });
  }
  return WithField<R>(
      step.name, [&](const auto& field) { return ListField(record, field, nullptr, step, list); });
}

}  // namespace tuning
