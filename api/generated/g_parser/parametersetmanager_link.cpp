// The live link of a manager.
#include "parameterrondelcom.h"
#include "parameterrondelworker.h"
#include "parametersetmanager.h"

void ParameterSetManager::CreateLink() {
  if (ParameterRondelCom::GetReach() != ParameterRondelCom::Reach::kNone && link_ == nullptr)
    link_ = new ParameterRondelWorker(this);
}

void ParameterSetManager::DeleteLink() {
  delete link_;
  link_ = nullptr;
}

// With the data mutex held exclusively, so it must not wait for the link's threads.
void ParameterSetManager::StartLink() {
  if (link_ != nullptr && startsLinkOnLoad_) link_->Start();
}

void ParameterSetManager::StopLink() {
  if (link_ != nullptr) link_->Stop();
}

uint16_t ParameterSetManager::GetLinkPort() const {
  return link_ == nullptr ? uint16_t{0} : link_->GetLinkPort();
}

void ParameterSetManager::SetCustomHandler(IParameterCustomHandler* handler) {
  if (link_ != nullptr) link_->SetCustomHandler(handler);
}
