#include "parametermodule.h"

#include <cstring>

#include "orvo/osutils.h"
#include "parameterfilesymboltable.h"
#include "parametersetmanager.h"

using Orvo::OsUtils::StrLCpy;
using Orvo::OsUtils::StrNICmp;

void ModuleData::GetType(char* buffer, const char* name) {
  constexpr size_t kHead = 8;
  constexpr size_t kTail = 23;
  for (const char* prefix : {"tessarine_", "tessarine"}) {
    const size_t length = std::strlen(prefix);
    if (StrNICmp(name, prefix, length) != 0 || name[length] == '\0') continue;
    name += length;
    break;
  }
  const size_t length = std::strlen(name);
  if (length <= kMaxType) {
    StrLCpy(buffer, name, kMaxType + 1);
    return;
  }
  std::memcpy(buffer, name, kHead);
  buffer[kHead] = '-';
  StrLCpy(buffer + kHead + 1, name + length - kTail, kTail + 1);
}

ParameterModule::ParameterModule(const char* name, VersionUnion version, ModuleData* data)
    : version_(version), data_(data) {
  StrLCpy(name_, name == nullptr ? "" : name, sizeof(name_));
  ModuleData::GetType(type_, name_);
  if (data_ == nullptr) return;
  SetMode(data_->mode);
  data_->symbolTable->AddUser();
}

ParameterModule::~ParameterModule() {
  if (data_ != nullptr) data_->symbolTable->RemoveUser();
}

bool ParameterModule::GetValue(const char*, char*, uint32_t) {
  return false;
}

bool ParameterModule::SetValue(const char*, const char*) {
  return false;
}

bool ParameterModule::GetInfo(const char*, PList<ParameterParserInfo>&) {
  return false;
}

void ParameterModule::SetMode(ModeEntry* mode) {
  if (data_ != nullptr) data_->mode = mode;
  if (mode != nullptr) mode_ = mode->GetMode();
}

void ParameterModule::RemoveClient() {
  uint32_t clients = clients_;
  while (clients != 0 && !clients_.compare_exchange_weak(clients, clients - 1)) {
  }
}

uint32_t ParameterModule::GetReferenceCount() const {
  return data_ == nullptr || data_->mode == nullptr ? 0 : data_->mode->GetReferenceCount(this);
}

void ParameterModule::Release() {
  if (data_ == nullptr || data_->setManager == nullptr) {
    PARAMETER_ERROR(nullptr,
                    "Attempt to release module reference when Data or SetManager is nullptr. "
                    "Module %s\n",
                    name_);
    return;
  }
  data_->setManager->ReleaseModule(this);
}

ModuleLink::~ModuleLink() {
  delete module;
}

void ModuleChain::Append(ModuleLink* link) {
  link->previous = last_;
  link->next = nullptr;
  (last_ == nullptr ? first_ : last_->next) = link;
  last_ = link;
}

void ModuleChain::Unlink(ModuleLink* link) {
  (link->previous == nullptr ? first_ : link->previous->next) = link->next;
  (link->next == nullptr ? last_ : link->next->previous) = link->previous;
  link->next = nullptr;
  link->previous = nullptr;
}

void ModuleChain::TakeAll(ModuleChain& other) {
  if (other.first_ == nullptr) return;
  other.first_->previous = last_;
  (last_ == nullptr ? first_ : last_->next) = other.first_;
  last_ = other.last_;
  other.first_ = other.last_ = nullptr;
}

void ModuleChain::DeleteAll() {
  while (ModuleLink* link = first_) {
    Unlink(link);
    link->module->UnloadModule();
    delete link;
  }
}

DefaultModule::~DefaultModule() {
  delete prototype_;
}

// A symbol that is taken already keeps its first instance.
bool DefaultModule::AddModule(ParameterModule* module) {
  auto* link = new ModuleLink;
  if (link == nullptr) return false;
  link->module = module;
  const ModuleData* data = module->GetData();
  const uint32_t symbol = data == nullptr ? 0 : data->GetSymbol();
  if (bySymbol_.Find(symbol) == nullptr && !bySymbol_.Insert(symbol, link)) {
    link->module = nullptr;
    delete link;
    return false;
  }
  instances_.Append(link);
  return true;
}

ModuleLink* DefaultModule::RemoveModule(const ParameterModule* module) {
  const ModuleData* data = module->GetData();
  const uint32_t symbol = data == nullptr ? 0 : data->GetSymbol();
  ModuleLink** found = bySymbol_.Find(symbol);
  ModuleLink* link = found == nullptr ? nullptr : *found;
  if (link != nullptr && link->module == module) {
    bySymbol_.Erase(symbol);
  } else {
    link = instances_.First();
    while (link != nullptr && link->module != module) link = link->next;
  }
  if (link != nullptr) instances_.Unlink(link);
  return link;
}

ParameterModule* DefaultModule::Find(uint32_t symbol) const {
  ModuleLink* const* found = bySymbol_.Find(symbol);
  return found == nullptr ? nullptr : (*found)->module;
}

void DefaultModule::MoveAll(ModuleChain& chain) {
  chain.TakeAll(instances_);
  bySymbol_.Clear();
}
