#include "module_reader.h"

#include <algorithm>

namespace tessarine {

Value ModuleReader::Read(const RecordSchema& root, View data, const std::string& place) {
  isCut_ = false;
  if (!Spend(place, data.size() / 4)) return DefaultRecord(root);
  ByteReader reader(data, format_.Alignment());
  Value value = ReadRecord(root, reader, place);
  if (reader.Left() != 0)
    Note(place, std::to_string(reader.Left()) + " bytes stand behind its last field");
  return value;
}

Value ModuleReader::ReadRecord(const RecordSchema& record, ByteReader& reader,
                               const std::string& path) {
  Value value;
  for (const FieldSchema& field : record.fields)
    value.parts.push_back(ReadField(field, reader, path + "." + field.name));
  return value;
}

Value ModuleReader::ReadField(const FieldSchema& field, ByteReader& reader,
                              const std::string& path) {
  if (isCut_) return DefaultValue(field);
  if (field.isVariable) return ReadArray(field, reader, path);
  if (field.fixedCount == 0) return ReadOne(field, reader, path);
  Value array;
  for (uint32_t i = 0; i < field.fixedCount; ++i)
    array.parts.push_back(ReadOne(field, reader, path + "[" + std::to_string(i) + "]"));
  return array;
}

Value ModuleReader::ReadOne(const FieldSchema& field, ByteReader& reader, const std::string& path) {
  if (field.record != nullptr) return ReadRecord(*field.record, reader, path);
  Value value;
  if (isCut_) return value;
  if (field.kind == FieldKind::kEnum)
    value = ReadEnum(field, reader, path);
  else if (field.kind == FieldKind::kString)
    value = ReadText(reader, path);
  else
    value.bits = reader.Word();
  if (reader.IsPastEnd() && !isCut_) {
    Note(path, "the data end before it");
    isCut_ = true;
  }
  return value;
}

Value ModuleReader::ReadEnum(const FieldSchema& field, ByteReader& reader,
                             const std::string& path) {
  Value value;
  value.bits = reader.Word();
  if (value.bits <= field.lastValue) return value;
  Note(path, "expected a value from 0 to " + std::to_string(field.lastValue) + ", found " +
                 std::to_string(value.bits) + ", which is read as 0");
  return Value{};
}

std::optional<View> ModuleReader::Object(uint32_t id, const std::string& path) {
  std::optional<View> data = objects_(id);
  if (!data) Note(path, "its object " + std::to_string(id) + " is not there");
  used_.insert(id);
  return data;
}

bool ModuleReader::Spend(const std::string& path, uint64_t values) {
  if (values <= valuesLeft_) {
    valuesLeft_ -= values;
    return true;
  }
  if (valuesLeft_ != 0) Note(path, "the file repeats its data too often; the rest is not read");
  valuesLeft_ = 0;
  return false;
}

// A length of 0 goes without an object, whatever its ID says.
Value ModuleReader::ReadText(ByteReader& reader, const std::string& path) {
  const uint32_t length = reader.Word();
  const uint32_t id = reader.Word();
  if (reader.IsPastEnd() || length == 0) return Value{};
  const std::optional<View> data = Object(id, path);
  if (!data || !Spend(path, data->size() / 16 + 1)) return Value{};
  if (length > data->size())
    Note(path, "its text has " + std::to_string(length) + " bytes, its object " +
                   std::to_string(data->size()));
  Value value;
  value.text.assign(data->begin(), data->begin() + std::min<size_t>(length, data->size()));
  return value;
}

Value ModuleReader::ReadArray(const FieldSchema& field, ByteReader& reader,
                              const std::string& path) {
  Value array;
  const uint32_t count = reader.Word();
  const uint32_t id = reader.Word();
  if (reader.IsPastEnd()) {
    Note(path, "the data end before it");
    isCut_ = true;
    return array;
  }
  if (count == 0) return array;
  const std::optional<View> data = Object(id, path);
  if (!data) return array;
  // The last element's last word needs no padding.
  const uint64_t element = field.record != nullptr ? field.record->InlineSize(format_) : 4;
  const uint64_t slack = field.record != nullptr ? format_.WordSize() - 4 : 0;
  if (count * element > data->size() + slack) {
    Note(path, "its " + std::to_string(count) + " elements take " +
                   std::to_string(count * element) + " bytes, its object has " +
                   std::to_string(data->size()));
    return array;
  }
  if (!Spend(path, count * (element / 4))) return array;
  ByteReader elements(*data, format_.Alignment());
  for (uint32_t i = 0; i < count; ++i) {
    if (field.record != nullptr)
      array.parts.push_back(
          ReadRecord(*field.record, elements, path + "[" + std::to_string(i) + "]"));
    else
      array.parts.push_back(Value{elements.BareWord(), {}, {}});
  }
  return array;
}

}  // namespace tessarine
