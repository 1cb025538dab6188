// The module class of a tuning record: joins the record with the framework.
//
// A root record has RootTraits<Root>, and functions LoadRoot, UnloadRoot, GetRootValue,
// SetRootValue and GetRootInfo; those of a record with a table of fields stand here.
#pragma once

#include <cstring>

#include "parameterfilesymboltable.h"
#include "parametermodule.h"
#include "parameterrecord.h"

namespace tuning {

// kClassName, and what the class accepts: `static bool Accepts(VersionUnion)` and kVersion.
template <class Root>
struct RootTraits;

template <Record Root>
bool LoadRoot(Root& root, Entry& entry, uint32_t alignment) {
  ClearValue(root);
  return LoadRecord(root, entry, alignment);
}
template <Record Root>
void UnloadRoot(Root& root, ParameterFileSymbolTable* table) {
  UnloadRecord(root, table);
}
template <Record Root>
bool GetRootValue(const Root& root, const char* path, char* buffer, uint32_t size) {
  return GetRecordValue(root, path, buffer, size);
}
template <Record Root>
bool SetRootValue(Root& root, const char* path, const char* value) {
  return SetRecordValue(root, path, value);
}
template <Record Root>
bool GetRootInfo(const Root& root, const char* path, InfoList& list) {
  return GetRecordInfo(root, path, list);
}

// The record is the tail of the object: a client gets a pointer to it.
template <class Root>
class GeneratedModule : public ParameterModule, public Root {
  using Traits = RootTraits<Root>;

 public:
  // A prototype, or an instance of stored data.
  explicit GeneratedModule(const char* name, ModuleData* data = nullptr)
      : ParameterModule(name, data == nullptr ? Traits::kVersion : data->version, data), Root{} {}

  ParameterModule* Create(ModuleData* data, DefaultModule* defaultModule) const override {
    if (!IsOfThisClass(*data)) return nullptr;
    const uint32_t symbol = data->GetSymbol();
    if (ParameterModule* shared = defaultModule->Find(symbol)) return shared;
    auto* instance = new GeneratedModule(GetName(), data);
    if (instance == nullptr) return nullptr;
    instance->SymbolTableID = symbol;
    if (defaultModule->AddModule(instance)) return instance;
    delete instance;
    return nullptr;
  }

  bool LoadModule(ParameterFileSymbolTable* table) override {
    if (IsLoaded()) return true;
    Entry entry;
    const uint32_t id = Root::SymbolTableID & ParameterFileSymbolTable::kMaxId;
    table->TakeAllocated();
    if (!table->Find(entry, id, true)) {
      PARAMETER_ERROR(table->GetLogger(),
                      "%s::LoadModule Failed to find module ID (%d) in Symbol Table\n",
                      Traits::kClassName, static_cast<int>(id));
      table->GiveBack(table->TakeAllocated());
      return false;
    }
    const bool loaded = LoadRoot(AsRoot(), entry, table->GetAlignment());
    allocated_ = table->TakeAllocated();
    CountChange();
    if (loaded) {
      SetLoaded(true);
    } else {
      Unload(table);
    }
    return loaded;
  }

  void UnloadModule() override {
    if (!IsLoaded()) return;
    ParameterFileSymbolTable* table = GetData() == nullptr ? nullptr : GetData()->symbolTable;
    if (table == nullptr)
      PARAMETER_ERROR(nullptr, "UnloadModule %s called with nullptr Data->SymbolTable object\n",
                      GetName());
    SetLoaded(false);
    Unload(table);
  }

  bool GetValue(const char* path, char* buffer, uint32_t size) override {
    return buffer != nullptr && size != 0 && GetRootValue(AsRoot(), path, buffer, size);
  }

  // The top byte of the symbol counts the changes, from 1 to 255 and again from 1.
  bool SetValue(const char* path, const char* value) override {
    constexpr uint32_t kStep = ParameterFileSymbolTable::kMaxId + 1;
    if (value == nullptr || !SetRootValue(AsRoot(), path, value)) return false;
    CountChange();
    uint32_t& symbol = Root::SymbolTableID;
    if (symbol >= 0xFF000000u) symbol &= ParameterFileSymbolTable::kMaxId;
    symbol += kStep;
    return true;
  }

  bool GetInfo(const char* path, PList<ParameterParserInfo>& list) override {
    return GetRootInfo(AsRoot(), path, list);
  }

 private:
  Root& AsRoot() { return *this; }

  bool IsOfThisClass(const ModuleData& data) const {
    const IParameterLoggingAPI* logger = data.symbolTable->GetLogger();
    if (!Traits::Accepts(data.version)) {
      PARAMETER_ERROR(logger,
                      "Unable to create %s, binary version (%lld) does not match source version "
                      "(%lld)\n",
                      Traits::kClassName, static_cast<long long>(data.version.Word()),
                      static_cast<long long>(Traits::kVersion.Word()));
      return false;
    }
    if (std::strcmp(GetType(), data.type) == 0) return true;
    PARAMETER_ERROR(logger,
                    "Unable to create %s, binary name (%s) does not match source name (%s)\n",
                    Traits::kClassName, data.type, GetType());
    return false;
  }

  void Unload(ParameterFileSymbolTable* table) {
    UnloadRoot(AsRoot(), table);
    if (table != nullptr) table->GiveBack(allocated_);
    allocated_ = 0;
  }

  uint64_t allocated_ = 0;  // what the table counts for this instance
};

}  // namespace tuning
