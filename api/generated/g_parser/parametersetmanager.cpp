// The manager itself: life, errors, log levels.
#include "parametersetmanager.h"

#include <cstdio>
#include <cstring>

#include "orvo/osutils.h"

ParameterSetManager::~ParameterSetManager() {
  PARAMETER_DEBUG(this, "ParameterSetManager deleting\n");
  DeleteLink();
  FreeReplacedParameters();
  DropLoaded();
  while (TagText* tag = tags_) {
    tags_ = tag->next;
    delete tag;
  }
}

void ParameterSetManager::DeleteDefaultModules() {
  const ParameterWriteLock lock(dataMutex_);
  SaveAndClearModules();
  replacedModules_.DeleteAll();
  for (uint32_t i = 0; i < defaultModules_.Count(); ++i) delete defaultModules_.ValueAt(i);
  defaultModules_.Clear();
}

ModeEntry* ParameterSetManager::GetModeEntry(uint32_t id) const {
  const ParameterReadLock lock(dataMutex_);
  return loaded_.tree == nullptr ? nullptr : loaded_.tree->GetModeEntry(id);
}

// With the data mutex held exclusively, or alone.
void ParameterSetManager::PublishTag() {
  const TagText* kept = loaded_.header.hasTag ? KeepTag() : nullptr;
  tag_ = kept == nullptr ? nullptr : kept->text;
}

ParameterSetManager::TagText* ParameterSetManager::KeepTag() {
  for (TagText* tag = tags_; tag != nullptr; tag = tag->next) {
    if (std::strcmp(tag->text, loaded_.header.tag) == 0) return tag;
  }
  auto* tag = new TagText;
  if (tag == nullptr) return nullptr;
  Orvo::OsUtils::StrLCpy(tag->text, loaded_.header.tag, sizeof(tag->text));
  tag->next = tags_;
  tags_ = tag;
  return tag;
}

bool ParameterSetManager::IsLogLevelEnabled(ParameterLogLevel level) const {
  switch (level) {
    case kParameterLogDebug: return logsDebug_;
    case kParameterLogWarning: return logsWarnings_;
    case kParameterLogError: break;
  }
  return logsErrors_;
}

void ParameterSetManager::SetLogLevels(bool error, bool warning, bool debug) {
  logsErrors_ = error;
  logsWarnings_ = warning;
  logsDebug_ = debug;
}

bool ParameterSetManager::IsLoadValid() const {
  const ParameterReadLock lock(dataMutex_);
  return loaded_.valid;
}

bool ParameterSetManager::IsFileMode() const {
  const ParameterReadLock lock(dataMutex_);
  return loaded_.fileName[0] != '\0';
}

VersionUnion ParameterSetManager::GetFileVersion() const {
  const ParameterReadLock lock(dataMutex_);
  return loaded_.header.version;
}

void ParameterSetManager::SetError(const char* text, const ModuleData* data) {
  char line[kMaxError];
  if (data == nullptr) {
    Orvo::OsUtils::StrLCpy(line, text, sizeof(line));
  } else {
    std::snprintf(line, sizeof(line), "%s Type: %s, Major: %u, Minor: %u, Patch: %u, Mode: %u",
                  text, data->type, data->version.majorVersion, data->version.minorVersion,
                  data->version.patchVersion, data->modeId);
  }
  {
    const std::lock_guard lock(errorMutex_);
    Orvo::OsUtils::StrLCpy(error_, line, sizeof(error_));
  }
  PARAMETER_ERROR(this, "%s\n", line);
}

void ParameterSetManager::GetError(char* buffer, uint32_t size) const {
  if (buffer == nullptr || size == 0) return;
  const std::lock_guard lock(errorMutex_);
  Orvo::OsUtils::StrLCpy(buffer, error_, size);
}
