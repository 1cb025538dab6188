#include "parameterrondelworker.h"

#include <algorithm>
#include <memory>

#include "parameterrondelcom.h"

using namespace ParameterRondel;

const ParameterRondelWorker::Handler ParameterRondelWorker::kHandlers[] = {
    &ParameterRondelWorker::ProcessDeviceInfo,
    &ParameterRondelWorker::ProcessDataActiveModes,
    &ParameterRondelWorker::ProcessDataControlValues,
    &ParameterRondelWorker::ProcessDataModes,
    &ParameterRondelWorker::ProcessDataInfo,
    &ParameterRondelWorker::ProcessDataGetValues,
    &ParameterRondelWorker::ProcessDataSetValues,
    &ParameterRondelWorker::ProcessDataTriggerValues,
    &ParameterRondelWorker::ProcessCustom};

ParameterRondelWorker::ParameterRondelWorker(IParameterDataAPI* api)
    : ParameterRondelWorker(api, nullptr) {
  server_ = new ParameterRondelCom(api);
  com_ = server_;
}

ParameterRondelWorker::ParameterRondelWorker(IParameterDataAPI* api, ParameterRondelComBase* com)
    : api_(api), com_(com) {
  if (api == nullptr)
    PARAMETER_ERROR(api, "ParameterRondelWorker constructed with a nullptr Set Manager object\n");
}

ParameterRondelWorker::~ParameterRondelWorker() {
  Stop();
  delete com_;
}

// A reload on the worker's own thread comes here while another thread may wait for its end in Stop:
// such a call must not wait.
void ParameterRondelWorker::Start() {
  if (isRunning_ || api_ == nullptr || com_ == nullptr) return;
  const std::lock_guard lock(lifeMutex_);
  if (isRunning_ || !com_->Start()) return;
  stop_ = false;
  isRunning_ = true;
  if (thread_.Start(ReadFunction, this)) return;
  PARAMETER_ERROR(api_, "Failed to create the worker thread of the Rondel server\n");
  com_->Stop();
  stop_ = true;
  isRunning_ = false;
}

void ParameterRondelWorker::Stop() {
  const std::lock_guard lock(lifeMutex_);
  stop_ = true;
  if (!isRunning_) return;
  com_->Stop();
  thread_.Join();
  isRunning_ = false;
}

uint16_t ParameterRondelWorker::GetLinkPort() const {
  return server_ == nullptr ? uint16_t{0} : server_->GetListenPort();
}

void ParameterRondelWorker::SetCustomHandler(IParameterCustomHandler* handler) {
  const std::lock_guard lock(handlerMutex_);
  handler_ = handler;
}

void* ParameterRondelWorker::ReadFunction(void* worker) {
  static_cast<ParameterRondelWorker*>(worker)->ReadWorker();
  return nullptr;
}

void ParameterRondelWorker::ReadWorker() {
  while (!stop_) {
    const std::unique_ptr<Packet> request(com_->Read(kTimeoutSeconds));
    if (request != nullptr && !stop_) ProcessRequest(*request);
  }
}

void ParameterRondelWorker::ProcessRequest(Packet& request) {
  if (request.length == 0) return;
  uint16_t command = kDeviceInfo;
  if (request.length >= kCommandOffset + sizeof(command)) {
    command = GetWord16(request.buffer.data() + kCommandOffset);
  } else {
    PARAMETER_ERROR(api_, "Failed to read %lld bytes from binary file offset %d, length %d\n",
                    static_cast<long long>(sizeof(command)), static_cast<int>(kCommandOffset),
                    static_cast<int>(request.length));
  }
  if (command >= kCommandCount) return;
  const Handler handler = kHandlers[command];
  (this->*handler)(request);
}

bool ParameterRondelWorker::IsPrintable(const void* buffer, uint32_t length) {
  const auto* bytes = static_cast<const uint8_t*>(buffer);
  return std::all_of(bytes, bytes + length,
                     [](uint8_t byte) { return byte == 0 || (byte >= 0x20 && byte <= 0x7E); });
}
