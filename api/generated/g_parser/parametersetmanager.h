// The manager of one set of tuning data: loads it, finds modules in it, serves queries by text.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>

#include "parameterexport.h"
#include "parameterfilesymboltable.h"
#include "parameterlist.h"
#include "parameterlogging.h"
#include "parametermap.h"
#include "parametermemory.h"
#include "parametermodeentry.h"
#include "parametermodetree.h"
#include "parametermodule.h"
#include "parametermutex.h"
#include "parametertypes.h"

class IParameterCustomHandler;
class ParameterRondelWorker;

// Gives the node of an ID in the mode table.
class PARAMETER_API IModeTable {
 public:
  virtual ModeEntry* GetModeEntry(uint32_t id) const = 0;
  virtual ~IModeTable() = default;
};

// What a tuning tool asks for. A branch is a text of numbers or names, as "0.0|2.1" or
// "Default|Usecase.Snapshot".
class PARAMETER_API IParameterDataAPI : public IParameterLoggingAPI {
 public:
  virtual bool GetValue(const char* modes, const char* modulePath, const char* names, char* buffer,
                        uint32_t size) = 0;
  virtual bool SetValue(const char* modes, const char* modulePath, const char* name,
                        const char* value) = 0;
  virtual bool GetInfo(const char* modes, const char* path, PList<ParameterParserInfo>& list) = 0;
  virtual bool GetActiveModes(char* buffer, uint32_t size) = 0;
  virtual bool GetControlValues(char* buffer, uint32_t size) = 0;
  virtual bool GetTriggerValues(char* buffer, uint32_t size) = 0;
  virtual uint32_t GetChildModes(const char* path, char* buffer, uint32_t size) = 0;
  virtual bool GetModeShorthand(const char* names, char* buffer, uint32_t size) = 0;
};

// Values in the order of their IDs.
class PARAMETER_API ParameterValueList {
 public:
  bool Get(uint32_t id, ParameterCTValue& value) const;
  // Replaces the entry of the same ID.
  bool Set(const ParameterCTValue& value);
  void Clear() { values_.Clear(); }
  // "<id>=<value>" joined by ","; false, with what fitted, if they don't all fit.
  bool ToString(char* buffer, uint32_t size) const;
  // Replaces the list; false if a part can't be read.
  bool FromString(const char* text);
  const PList<ParameterCTValue>& All() const { return values_; }

 private:
  PList<ParameterCTValue> values_{8};
};

// In buffer mode all modes stay in memory. In file mode a mode is read when it is asked for, and a
// bounded number of them stays; a client keeps a module in memory until it releases it.
//
// Any thread may call everything but the constructor and the destructor. Locks are taken in the
// order data, load; a reload is never started by a thread that reads.
class PARAMETER_API ParameterSetManager : public OnOrvoHeap,
                                          public IModeTable,
                                          public IParameterDataAPI {
 public:
  static constexpr uint32_t kMaxError = 2048;
  static constexpr uint32_t kMaxFileName = ParameterBinaryFile::kMaxFileName;

  ParameterSetManager() = default;
  ~ParameterSetManager() override;
  ParameterSetManager(const ParameterSetManager&) = delete;
  ParameterSetManager& operator=(const ParameterSetManager&) = delete;

  ModeEntry* GetModeEntry(uint32_t id) const override;
  bool GetValue(const char* modes, const char* modulePath, const char* names, char* buffer,
                uint32_t size) override;
  bool SetValue(const char* modes, const char* modulePath, const char* name,
                const char* value) override;
  bool GetInfo(const char* modes, const char* path, PList<ParameterParserInfo>& list) override;
  bool GetActiveModes(char* buffer, uint32_t size) override;
  bool GetModeShorthand(const char* names, char* buffer, uint32_t size) override;
  bool GetControlValues(char* buffer, uint32_t size) override;
  bool GetTriggerValues(char* buffer, uint32_t size) override;
  virtual ModeEntry* GetModeEntry(const char* path);
  virtual ModeEntry* GetModeEntry(const TuningMode* branch, uint32_t count);
  uint32_t GetChildModes(const char* path, char* buffer, uint32_t size) override;
  // The text stays as long as the manager, although the tag may change.
  const char* GetBinaryTag() const override { return tag_; }
  bool IsLogLevelEnabled(ParameterLogLevel level) const override;
  virtual DefaultModule* FindDefaultModule(const char* type) = 0;
  // Moves all instances to the replaced list, so that clients' pointers stay valid.
  virtual void SaveAndClearModules() = 0;

  // ---- Loading

  bool LoadBinaryParameters(const char* fileName);
  bool LoadBinaryParameters(const void* buffer, uint64_t length);
  // Reads the file again; what is in force stays so if that fails.
  bool ReloadBinaryParameters(bool bufferMode);
  // Moves the instances of a freshly loaded manager into this tree; clients notice nothing.
  bool UpdateParameters(ParameterSetManager& newManager);
  void FreeBinaryParameters();
  // Deletes what reloads and updates replaced: no client may hold any of it.
  void FreeReplacedParameters();

  bool IsLoadValid() const;
  bool IsFileMode() const;
  VersionUnion GetFileVersion() const;
  // Records the text as the last error and logs it.
  void SetError(const char* text, const ModuleData* data = nullptr);
  void GetError(char* buffer, uint32_t size) const;
  // A module without a class sets no error text; the load fails all the same.
  void SetMissingModuleTolerance(bool tolerant) { toleratesMissing_ = tolerant; }
  // Without it a file is read whole and not kept.
  void SetFileModeWanted(bool wanted) { fileModeWanted_ = wanted; }
  // Bound of the modes in memory, file mode only; 0: none.
  void SetMaximumModes(uint32_t maximum) { maximumModes_ = maximum; }
  void SetLogLevels(bool error, bool warning, bool debug);

  // ---- Live link, of managers that have one

  // Without it no load starts the link; true at first.
  void SetStartLinkOnLoad(bool start) { startsLinkOnLoad_ = start; }
  // Where tuning tools connect to; 0 while the link is not up.
  uint16_t GetLinkPort() const;
  // What answers a tool's custom requests. Null removes it; after that it isn't called any more.
  void SetCustomHandler(IParameterCustomHandler* handler);
  // Until the next load starts it again. Not to be called by the handler.
  void StopLink();

  // ---- Modules

  // The instance of the deepest mode along a branch that holds the module; null if there is none.
  // `previous`, if given, is released.
  ParameterModule* GetModule(const char* name, const TuningMode* branch, uint32_t count,
                             ParameterModule* previous);
  bool LoadMode(const TuningMode* branch, uint32_t count, const char* name);
  bool UnloadMode(const TuningMode* branch, uint32_t count);
  void ReleaseModule(ParameterModule* module);

  // ---- Texts

  bool GetValue(const TuningMode* branch, uint32_t count, const char* modulePath, const char* names,
                char* buffer, uint32_t size);
  bool SetValue(const TuningMode* branch, uint32_t count, const char* modulePath, const char* name,
                const char* value);
  bool GetInfo(const TuningMode* branch, uint32_t count, const char* path,
               PList<ParameterParserInfo>& list);
  uint32_t GetValueChangeCount() const { return valueChanges_; }

  static bool GetModeBranchFromPath(const char* path, PList<TuningMode>& list);
  static bool GetPathFromModeBranch(const TuningMode* branch, uint32_t count, char* buffer,
                                    uint32_t size);
  // 0 for an unknown name.
  static uint32_t GetModeIndex(const char* name);
  static uint32_t GetSubModeIndex(uint32_t mode, const char* name);
  // Branches of numbers, joined by ";", as names.
  static bool GetRondelModesString(const char* paths, char* buffer, uint32_t size);

  // ---- Controls and triggers of the camera stack

  bool GetControlValue(uint32_t id, ParameterCTValue& value) const;
  bool GetControlValues(PList<ParameterCTValue>& list) const;
  bool SetControlValue(const ParameterCTValue& value);
  bool SetControlValues(const ParameterCTValue* values, uint32_t count);
  bool SetControlValues(const PList<ParameterCTValue>& list);
  bool SetControlValues(const char* text);
  bool GetTriggerValue(uint32_t id, ParameterCTValue& value) const;
  bool GetTriggerValues(PList<ParameterCTValue>& list) const;
  bool SetTriggerValue(const ParameterCTValue& value);
  bool SetTriggerValues(const ParameterCTValue* values, uint32_t count);
  bool SetTriggerValues(const PList<ParameterCTValue>& list);
  bool SetTriggerValues(const char* text);

 protected:
  using DefaultModuleMap = ParameterMap<ParameterName, DefaultModule*>;

  // For the constructor of a manager with a link. Its destructor stops the link before anything
  // else: the link's threads call operations that derived classes define.
  void CreateLink();
  // Of a manager that serves another one.
  void DeleteLink();

  // For the destructor of a derived manager, whose instances still need the tables.
  void DeleteDefaultModules();

  DefaultModuleMap defaultModules_;
  ModuleChain replacedModules_;
  PList<ParameterSetManager*> replacedManagers_;
  mutable ParameterMutex dataMutex_;  // the whole tree against a reload

 private:
  static constexpr uint32_t kMaxSections = 4;
  static constexpr uint32_t kTagSize = 64;

  struct Section {
    uint32_t offset = 0;
    uint32_t size = 0;
  };
  // What the header tells.
  struct Header {
    bool hasTag = false;
    char tag[kTagSize + 1] = {};
    uint32_t size = 0;
    VersionUnion version;
    uint64_t flags = 0;
    uint32_t sectionTable = 0;
    uint32_t sectionCount = 0;
    uint32_t alignment = 1;
  };
  // Everything that one load makes.
  struct LoadedData {
    Header header;
    Section sections[kMaxSections];
    ParameterFileSymbolTable* table = nullptr;
    ParameterModeTree* tree = nullptr;
    bool valid = false;                    // the load succeeded
    char fileName[kMaxFileName + 1] = {};  // not empty: file mode
  };
  class HeaderReader;
  // One of all tags so far: threads that log may hold on to one that a reload has replaced.
  struct TagText : OnOrvoHeap {
    char text[kTagSize + 1] = {};
    TagText* next = nullptr;
  };

  void PublishTag();
  TagText* KeepTag();
  // parametersetmanager_link.cpp
  void StartLink();

  // parametersetmanager_load.cpp
  bool FinishLoad(bool loaded);
  struct FileErrors;
  struct FileRelease {
    void operator()(uint8_t* bytes) const;
  };
  using FileBytes = std::unique_ptr<uint8_t, FileRelease>;

  bool LoadFile(const char* fileName, bool keepFile);
  bool ReloadAsBuffer(const char* fileName);
  std::unique_ptr<ParameterBinaryFile> OpenFile(const char* fileName, const FileErrors& errors);
  FileBytes ReadImage(ParameterBinaryFile* file, const FileErrors& errors);
  bool LoadBuffer(const uint8_t* buffer, uint64_t length);
  bool LoadThroughFile(std::unique_ptr<ParameterBinaryFile> file, const uint8_t* image);
  bool RefuseSecondLoad();
  bool ReadHeader(const uint8_t* buffer, uint32_t length);
  bool ReadHeaderFields(HeaderReader& reader);
  bool CheckTag(const char* tag);
  bool CheckHeader(uint32_t length);
  bool ReadSectionInfo(const uint8_t* buffer, uint32_t length, uint32_t fileLength);
  bool CheckSectionCount();
  bool ReadSections(const uint8_t* buffer, uint32_t length, ParameterBinaryFile* file);
  bool ReadTables(const uint8_t* buffer, uint32_t length, ParameterBinaryFile* file);
  bool ReadModeSection(const uint8_t* buffer, ParameterBinaryFile* file);
  bool BuildTree(const uint8_t* section, uint32_t size, bool loaded);
  bool CreateModules(bool loadAll);
  bool CreateModule(ModuleData* data, bool loadAll);
  bool AddModuleToTree(ParameterModule* module, const ModuleData* data);
  void DropLoaded();

  // parametersetmanager_reload.cpp
  bool ReloadIfModified();
  bool IsFileModified() const;
  void TakeInstances(ModuleChain& instances);
  void RetireLoaded(LoadedData& loaded, ModuleChain& instances);
  void RestoreLoaded(LoadedData& loaded, ModuleChain& instances);
  void FreeUnusedReplaced();
  bool UpdateNode(ParameterSetManager& newManager, ModeEntry* source, ModeEntry* target,
                  uint32_t depth);
  void MoveModules(ParameterSetManager& newManager, ModeEntry* source, ModeEntry* target);
  void JoinModule(ParameterSetManager& newManager, ParameterModule* module, const ModeEntry* source,
                  ModeEntry* target);
  void RetireModule(ParameterModule* module);

  // parametersetmanager_modules.cpp
  struct LookUp;
  struct LoadRequest;
  bool LookUpModule(LookUp& request, bool lastAttempt);
  ParameterModule* WalkBranch(const LookUp& request);
  void WarnOfEmptyManager(const char* name) const;
  ParameterModule* FindInRoot(const LookUp& request);
  void WarnOfBranch(const char* name, const TuningMode* branch, uint32_t count) const;
  bool EnsureLoaded(ParameterModule* module);
  bool AddReference(ParameterModule* module);
  bool LoadModeInternal(const TuningMode* branch, uint32_t count, const char* name);
  bool LoadModules(ModeEntry* mode, LoadRequest& request);
  bool LoadModulesOf(ModeEntry* mode);
  bool UnloadModules(ModeEntry* mode);
  void LogLoading(bool load, ModeEntry* mode, const LoadRequest& request) const;
  void TouchMode(ModeEntry* mode);
  void TrimRecentModes();
  ModeEntry* FindNode(const TuningMode* branch, uint32_t count) const;

  // parametersetmanager_values.cpp
  template <class Operation>
  bool WithModule(const TuningMode* branch, uint32_t count, const char* modulePath,
                  Operation operation);
  bool ListModules(const TuningMode* branch, uint32_t count, PList<ParameterParserInfo>& list);
  void KeepChanged(ParameterModule* module);

  // parametersetmanager_branches.cpp
  ModeEntry* FindNode(const char* path) const;
  static bool ParseStep(const char* text, size_t length, TuningMode& step);

  LoadedData loaded_;
  mutable ParameterMutex loadMutex_;   // loading and unloading of modes, text access to records
  PList<ModeEntry*> recentModes_{16};  // loaded modes, the latest one first
  mutable ParameterMutex valueMutex_;
  ParameterValueList controls_;
  ParameterValueList triggers_;
  std::atomic<uint32_t> valueChanges_{0};
  uint32_t maximumModes_ = 0;
  bool fileModeWanted_ = false;
  bool toleratesMissing_ = false;
  std::atomic<bool> startsLinkOnLoad_ = true;
  std::atomic<bool> logsErrors_ = true;
  std::atomic<bool> logsWarnings_ = true;
  std::atomic<bool> logsDebug_ = true;
  TagText* tags_ = nullptr;
  std::atomic<const char*> tag_ = nullptr;  // the one in force
  ParameterRondelWorker* link_ = nullptr;
  mutable std::mutex errorMutex_;
  char error_[kMaxError] = {};
};
