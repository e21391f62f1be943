#include "platform/QxBaseDriver.h"

#include <boost/make_shared.hpp>
#include <stdexcept>

#include "platform/IHost.h"

namespace {

qx::IHost& FindHost(IInstanceManager& instanceManager) {
  void* instance = nullptr;
  if (instanceManager.GetInterface(qx::IHost::kInterfaceId, &instance) < 0 || instance == nullptr) {
    throw std::runtime_error("the instance manager knows no host");
  }
  return *static_cast<qx::IHost*>(instance);
}

class BindMessage : public IBindMessage {
 public:
  void SetCommand(int kind, const std::string& name) override {
    kind_ = kind;
    command_ = name;
  }
  void AddParam(const std::string& name, const std::string& type, unsigned int value) override {
    params_.push_back({name, type, value});
  }
  int GetKind() const override { return kind_; }
  const std::string& GetCommand() const override { return command_; }
  const std::vector<Param>& GetParams() const override { return params_; }

 private:
  int kind_ = 0;
  std::string command_;
  std::vector<Param> params_;
};

}  // namespace

IDriver::~IDriver() = default;

QxBaseDriver::QxBaseDriver(IInstanceManager& instanceManager, QxDriverType type,
                           DriverMultiplicity multiplicity)
    : instanceManager_(instanceManager),
      host_(FindHost(instanceManager)),
      type_(type),
      multiplicity_(multiplicity) {}

QxBaseDriver::~QxBaseDriver() = default;

QxDriverType QxBaseDriver::GetDriverType() const { return type_; }

DriverMultiplicity QxBaseDriver::GetMultiplicity() const { return multiplicity_; }

void QxBaseDriver::LateInitialize() {}

boost::shared_ptr<qx::XmlNode> QxBaseDriver::GetPersistXml() { return {}; }

void QxBaseDriver::ExecuteCommand(const ICmdMessage& message, ICmdReturn* answer, unsigned int) {
  cmdDispatcher_.Dispatch(message, answer);
}

boost::shared_ptr<qx::XmlNode> QxBaseDriver::UIRequest(const ICmdMessage& message) {
  return uiCmdDispatcher_.Dispatch(message);
}

boost::shared_ptr<qx::XmlNode> QxBaseDriver::UIRequest(const ICmdMessage& message,
                                                       qx::response::IResponse&) {
  return uiCmdDispatcher_.Dispatch(message);
}

void QxBaseDriver::OnTimerExpired(ID::Timer, time_t) {}

int QxBaseDriver::Initialize(unsigned int, boost::shared_ptr<qx::XmlNode>&,
                             boost::shared_ptr<qx::XmlNode>) {
  return 0;
}

ID::Timer QxBaseDriver::AddTimer(unsigned int period, unsigned int unit, bool once) {
  return host_.AddTimer(*this, period, unit, once);
}

void QxBaseDriver::KillTimer(ID::Timer& timer, bool clear) {
  host_.KillTimer(timer, clear);
  if (clear) timer = 0;
}

void QxBaseDriver::FireEvent(unsigned int event) { host_.FireEvent(event); }

void QxBaseDriver::SendDataToUI(const boost::shared_ptr<qx::XmlNode>& element) const {
  host_.SendDataToUI(element);
}

void QxBaseDriver::SendBoundCall(unsigned int bindingId, const IBindMessage& message,
                                 ICmdReturn* answer) const {
  host_.SendBoundCall(bindingId, message, answer);
}

void QxBaseDriver::AddDynamicBinding(unsigned int id, BindingType type, bool first,
                                     const std::string& name, const std::string& bindingClass,
                                     bool second, bool third, const char* text) {
  host_.AddDynamicBinding(id, type, first, name, bindingClass, second, third, text);
}

void QxBaseDriver::RemoveDynamicBinding(unsigned int id) { host_.RemoveDynamicBinding(id); }

void QxBaseDriver::RegisterListener(ISystemEventCallback& listener, qx::SystemEventData::Code code,
                                    unsigned int argument) {
  host_.RegisterListener(listener, code, argument);
}

void QxBaseDriver::UnregisterListener(ISystemEventCallback& listener,
                                      qx::SystemEventData::Code code, unsigned int argument) {
  host_.UnregisterListener(listener, code, argument);
}

void QxBaseDriver::EmRemoveByOwner(unsigned int id, CI_OWNER_ID_TYPE ownerType) {
  host_.EmRemoveByOwner(id, ownerType);
}

unsigned int QxBaseDriver::GetDeviceId() const { return host_.GetDeviceId(); }

boost::shared_ptr<IBindMessage> QxBaseDriver::CreateBindMessage() const {
  return boost::make_shared<BindMessage>();
}

IInstanceManager& QxBaseDriver::GetInstanceManager() const { return instanceManager_; }

void QxBaseDriver::setReturnValue(ICmdReturn* answer, const std::string& value) const {
  if (answer != nullptr) answer->SetValue(value);
}

CmdDispatcher& QxBaseDriver::GetCmdDispatcher() { return cmdDispatcher_; }

UICmdDispatcher& QxBaseDriver::GetUICmdDispatcher() { return uiCmdDispatcher_; }
