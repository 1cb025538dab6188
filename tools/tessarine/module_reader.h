// The data of a module as a value.
#pragma once

#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "model.h"

namespace tessarine {

// Reads by the tables of fields, notes what is wrong, and goes on where it can.
class ModuleReader {
 public:
  // The data of an out-of-line object; nothing if there is no such ID.
  using ObjectSource = std::function<std::optional<View>(uint32_t id)>;

  ModuleReader(const Format& format, ObjectSource objects, std::vector<std::string>& defects)
      : format_(format), objects_(std::move(objects)), defects_(defects) {}

  // `place` names the module in defects.
  Value Read(const RecordSchema& root, View data, const std::string& place);
  const std::set<uint32_t>& UsedObjects() const { return used_; }
  // What stands in a file once may be referred to without end: bounds what is made of it. False,
  // with a defect the first time, once a file has repeated its bytes too often.
  bool Spend(const std::string& place, uint64_t values);

 private:
  Value ReadRecord(const RecordSchema& record, ByteReader& reader, const std::string& path);
  Value ReadField(const FieldSchema& field, ByteReader& reader, const std::string& path);
  Value ReadOne(const FieldSchema& field, ByteReader& reader, const std::string& path);
  Value ReadEnum(const FieldSchema& field, ByteReader& reader, const std::string& path);
  Value ReadText(ByteReader& reader, const std::string& path);
  Value ReadArray(const FieldSchema& field, ByteReader& reader, const std::string& path);
  // The data of an object, noted as used; nothing, with a defect, if there are none.
  std::optional<View> Object(uint32_t id, const std::string& path);
  void Note(const std::string& path, const std::string& text) {
    defects_.push_back(path + ": " + text);
  }
  const Format& format_;
  ObjectSource objects_;
  std::vector<std::string>& defects_;
  std::set<uint32_t> used_;
  bool isCut_ = false;  // the data of the module ended early
  uint64_t valuesLeft_ = 4'000'000;
};

}  // namespace tessarine
