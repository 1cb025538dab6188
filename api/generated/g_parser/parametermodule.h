// Modules of tuning data: their description in a file, their instances, their prototypes.
#pragma once

#include <atomic>
#include <cstdint>

#include "parameterexport.h"
#include "parameterlist.h"
#include "parametermap.h"
#include "parametermemory.h"
#include "parametertypes.h"

class DefaultModule;
class ModeEntry;
class ParameterFileSymbolTable;
class ParameterSetManager;

// One stored module, as the symbol table tells it. Kept by the table.
struct PARAMETER_API ModuleData {
  static constexpr uint32_t kMaxType = 32;

  // The short form of a module's name, which fits the file's field: without the prefix
  // "tessarine_" or "tessarine" in any case; what is still longer becomes its first 8 characters, a
  // "-" and its last 23. `buffer` has kMaxType + 1 places.
  static void GetType(char* buffer, const char* name);

  // The ID by which modes know the instance: the duplicate identifier, if there is one.
  uint32_t GetSymbol() const { return duplicateId != 0 ? duplicateId : id; }

  uint32_t id = 0;  // 0: the entry makes no module
  uint32_t duplicateId = 0;
  char type[kMaxType + 1] = {};
  VersionUnion version;
  uint32_t modeId = 0;        // place in the mode table
  ModeEntry* mode = nullptr;  // null: there is no such mode, or its tree is gone
  ParameterSetManager* setManager = nullptr;
  ParameterFileSymbolTable* symbolTable = nullptr;
};

// One instance of a module, or the prototype that makes them. The tuning record is the tail of the
// object.
class PARAMETER_API ParameterModule : public OnOrvoHeap {
 public:
  static constexpr uint32_t kMaxName = 65;

  ParameterModule(const char* name, VersionUnion version, ModuleData* data);
  ParameterModule(const char* name, uint16_t major, uint16_t minor, uint32_t patch,
                  ModuleData* data)
      : ParameterModule(name, VersionUnion(major, minor, patch), data) {}
  virtual ~ParameterModule();
  ParameterModule(const ParameterModule&) = delete;
  ParameterModule& operator=(const ParameterModule&) = delete;

  // The instance for a stored module: one that is there already for the same symbol, or a new one.
  // Null, with a log line, if the data isn't of this class.
  virtual ParameterModule* Create(ModuleData* data, DefaultModule* defaultModule) const = 0;
  virtual bool LoadModule(ParameterFileSymbolTable* table) = 0;
  virtual void UnloadModule() = 0;
  // Text access to the fields of the record.
  virtual bool GetValue(const char* path, char* buffer, uint32_t size);
  virtual bool SetValue(const char* path, const char* value);
  virtual bool GetInfo(const char* path, PList<ParameterParserInfo>& list);

  // References in file mode, by the mode that holds the instance.
  uint32_t GetReferenceCount() const;
  // A client is done with the instance.
  void Release();

  const char* GetName() const { return name_; }
  const char* GetType() const { return type_; }
  VersionUnion GetVersion() const { return version_; }
  ModeUnion GetMode() const { return mode_; }
  ModuleData* GetData() const { return data_; }
  bool IsLoaded() const { return loaded_.load(std::memory_order_acquire); }
  uint32_t GetModified() const { return modified_.load(std::memory_order_relaxed); }

  // What the manager keeps with an instance.
  void SetMode(ModeEntry* mode);
  void AddClient() { ++clients_; }
  void RemoveClient();
  bool HasClients() const { return clients_ != 0; }
  void Retire() { retired_ = true; }
  bool IsRetired() const { return retired_; }

 protected:
  void SetLoaded(bool loaded) { loaded_.store(loaded, std::memory_order_release); }
  void CountChange() { modified_.fetch_add(1, std::memory_order_relaxed); }

 private:
  char name_[kMaxName + 1] = {};
  char type_[ModuleData::kMaxType + 1] = {};
  VersionUnion version_;
  ModeUnion mode_;
  ModuleData* data_;
  std::atomic<bool> loaded_{false};
  std::atomic<uint32_t> modified_{0};
  std::atomic<uint32_t> clients_{0};  // pointers in the hands of clients
  std::atomic<bool> retired_{false};  // replaced by newer data; only clients still see it
};

// One instance in the list of its class.
struct ModuleLink : OnOrvoHeap {
  ~ModuleLink();  // deletes the instance

  ParameterModule* module = nullptr;
  ModuleLink* next = nullptr;
  ModuleLink* previous = nullptr;
};

// Instances in the order of their making.
class PARAMETER_API ModuleChain {
 public:
  ModuleChain() = default;
  ~ModuleChain() { DeleteAll(); }
  ModuleChain(const ModuleChain&) = delete;
  ModuleChain& operator=(const ModuleChain&) = delete;

  void Append(ModuleLink* link);
  void Unlink(ModuleLink* link);
  void TakeAll(ModuleChain& other);
  void DeleteAll();
  ModuleLink* First() const { return first_; }

 private:
  ModuleLink* first_ = nullptr;
  ModuleLink* last_ = nullptr;
};

// The prototype of a module class and its instances.
class PARAMETER_API DefaultModule : public OnOrvoHeap {
 public:
  // Takes the prototype.
  explicit DefaultModule(ParameterModule* prototype) : prototype_(prototype) {}
  ~DefaultModule();
  DefaultModule(const DefaultModule&) = delete;
  DefaultModule& operator=(const DefaultModule&) = delete;

  ParameterModule* GetPrototype() const { return prototype_; }
  const ModuleChain& GetInstances() const { return instances_; }

  // Takes the instance; false, and not taken, without memory.
  bool AddModule(ParameterModule* module);
  // Takes an instance that no symbol will be asked for: its file has been read.
  void RestoreLink(ModuleLink* link) { instances_.Append(link); }
  // Unlinks an instance without deleting it; null if it isn't here.
  ModuleLink* RemoveModule(const ParameterModule* module);
  // The instance of a symbol; null if there is none.
  ParameterModule* Find(uint32_t symbol) const;
  // Moves all instances behind those of `chain`.
  void MoveAll(ModuleChain& chain);

 private:
  ParameterModule* prototype_;
  ModuleChain instances_;
  ParameterMap<ParameterNumber, ModuleLink*> bySymbol_;
};
