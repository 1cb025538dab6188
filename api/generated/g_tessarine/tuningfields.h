// How a tuning record is described: one table of fields per record, next to its struct.
//
// Reading from a file, text access, listing and the XML snapshot all walk these tables; adding a
// field to a schema is one line in its struct and one in its table. The order of a table is the
// order in the file.
#pragma once

#include <cstdint>

namespace tuning {

enum class FieldKind { kInt32, kFloat, kBoolean, kEnum, kString, kStructure };

// The schema's word for a kind.
constexpr const char* KindName(FieldKind kind) {
  switch (kind) {
    case FieldKind::kInt32: return "Int32";
    case FieldKind::kFloat: return "Float";
    case FieldKind::kBoolean: return "Boolean";
    case FieldKind::kEnum: return "Enum";
    case FieldKind::kString: return "String";
    case FieldKind::kStructure: return "Structure";
  }
  return "";
}

// A scalar, a string, a nested record or an array of fixed length.
template <class Record, class Member>
struct Field {
  const char* name;
  FieldKind kind;
  Member Record::*member;
};
template <class Record, class Member>
Field(const char*, FieldKind, Member Record::*) -> Field<Record, Member>;

// An enumeration; its valid values are 0 up to EnumTraits<Member>::kLast.
template <class Record, class Member>
struct EnumField {
  const char* name;
  Member Record::*member;
};
template <class Record, class Member>
EnumField(const char*, Member Record::*) -> EnumField<Record, Member>;

template <class Enum>
struct EnumTraits;

// An array of variable length: count, symbol of its table in the file, elements.
template <class Record, class Element>
struct ArrayField {
  const char* name;
  FieldKind kind;
  uint32_t Record::*count;
  uint32_t Record::*id;
  Element* Record::*elements;
};
template <class Record, class Element>
ArrayField(const char*, FieldKind, uint32_t Record::*, uint32_t Record::*, Element* Record::*)
    -> ArrayField<Record, Element>;

}  // namespace tuning

// Ties a record to its table and its name, for code that has nothing but the type. Stands behind
// the table, in the namespace of the record.
#define TUNING_RECORD(record)                     \
  constexpr const auto& FieldsOf(const record*) { \
    return kFields_##record;                      \
  }                                               \
  constexpr const char* NameOf(const record*) {   \
    return #record;                               \
  }
