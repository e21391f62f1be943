// Construction, destruction, start, state, system events and queries.
#include "agent/ServicesAgent.h"

#include <boost/bind/bind.hpp>
#include <utility>

#include "agent/Log.h"
#include "agent/SystemEventName.h"
#include "services/ServiceType.h"

log4cplus::Logger agentLogger = log4cplus::Logger::getRoot();

namespace {

constexpr const char* SERVICES_AGENT_INTERFACE_ID = "E3D838E8-07BB-4251-9201-18A186DDFBDA";
constexpr QxDriverType kDriverType{3};
constexpr DriverMultiplicity kMultiplicity{0};
constexpr BindingType kBindingType{1};
constexpr auto kItemRemoved = static_cast<qx::SystemEventData::Code>(11);
constexpr ItemType kShortcutTarget{7};

using ItemRemovedData = qx::SystemEventData4<unsigned int, unsigned int, ItemType, unsigned int>;

/// Runs one clean-up step and discards its exception, so that the remaining steps run too. A
/// destructor cannot report a failure.
template <typename Step>
void Withdraw(const Step& step) noexcept {
  try {
    step();
  } catch (...) {
  }
}

}  // namespace

ServicesAgent::ServicesAgent(IInstanceManager& instanceManager)
    : QxBaseDriver(instanceManager, kDriverType, kMultiplicity) {
  instanceManager.RegisterInterface(SERVICES_AGENT_INTERFACE_ID,
                                    static_cast<IServicesAgent*>(this));
  try {
    RegisterCommands();
    RegisterListener(*this, kItemRemoved, 0);
  } catch (...) {
    Withdraw([&] { instanceManager.UnregisterInterface(SERVICES_AGENT_INTERFACE_ID); });
    throw;
  }
}

ServicesAgent::~ServicesAgent() {
  Withdraw([this] { UnregisterListener(*this, kItemRemoved, 0); });
  Withdraw([this] { GetInstanceManager().UnregisterInterface(SERVICES_AGENT_INTERFACE_ID); });
  Withdraw([this] { RemoveDynamicBinding(kBindingId); });
  if (timer_ != 0) Withdraw([this] { KillTimer(timer_, true); });
}

void ServicesAgent::RegisterCommands() {
  using Agent = ServicesAgent;
  using UIHandler = boost::shared_ptr<qx::XmlNode> (Agent::*)(const ICmdMessage&);
  using ReturnHandler = void (Agent::*)(const ICmdMessage&, ICmdReturn*);
  using PlainHandler = void (Agent::*)(const ICmdMessage&);

  constexpr std::pair<const char*, UIHandler> kUICommands[] = {
      {"GET_SERVICE_TYPES", &Agent::OnUICmdGetServiceTypes},
      {"GET_ALL_SERVICES", &Agent::OnUICmdGetAllServices},
      {"GET_SERVICE", &Agent::OnUICmdGetService},
  };
  constexpr std::pair<const char*, ReturnHandler> kReturnCommands[] = {
      {"GET_SERVICE_TYPES", &Agent::OnCmdGetServiceTypes},
      {"GET_ALL_SERVICES", &Agent::OnCmdGetAllServices},
      {"GET_SERVICE", &Agent::OnCmdGetService},
  };
  constexpr std::pair<const char*, PlainHandler> kPlainCommands[] = {
      {"SEND_REQUEST_EVENT", &Agent::OnCmdSendRequestEvent},
      {"SEND_CANCEL_EVENT", &Agent::OnCmdSendCancelEvent},
      {"ADD_SERVICE", &Agent::OnCmdAddService},
      {"EDIT_SERVICE", &Agent::OnCmdEditService},
      {"REMOVE_SERVICE", &Agent::OnCmdRemoveService},
      {"REORDER_SERVICES", &Agent::OnCmdReorderServices},
  };
  namespace args = boost::placeholders;
  for (const auto& [name, handler] : kUICommands) {
    GetUICmdDispatcher().RegisterUICmd(name, boost::bind(handler, this, args::_1));
  }
  for (const auto& [name, handler] : kReturnCommands) {
    GetCmdDispatcher().RegisterCmd2(name, boost::bind(handler, this, args::_1, args::_2));
  }
  for (const auto& [name, handler] : kPlainCommands) {
    GetCmdDispatcher().RegisterCmd1(name, boost::bind(handler, this, args::_1));
  }
}

int ServicesAgent::Initialize(unsigned int id, boost::shared_ptr<qx::XmlNode>& project,
                              boost::shared_ptr<qx::XmlNode> state) {
  QxBaseDriver::Initialize(id, project, state);
  AddDynamicBinding(kBindingId, kBindingType, true, "GS_AGENT", "GUEST_SERVICES", false, true,
                    nullptr);
  if (!state) return 0;
  if (state->GetName() != "guest_services") {
    qx::AssertWrite(kSourceFile, __LINE__, qx::StackTrace());
  }
  auto* const children = state->GetIterator();
  for (auto child = children->GetFirst(); child; child = children->GetNext()) {
    AppendService(CreateServiceFromXml(child));
  }
  return 0;
}

void ServicesAgent::LateInitialize() {
  QxBaseDriver::LateInitialize();
  ArmTimer();
}

void ServicesAgent::ArmTimer() {
  constexpr unsigned int kPeriod = 30;
  constexpr unsigned int kUnit = 2;
  timer_ = 0;  // the timer has expired: if AddTimer throws, the host may reuse the id
  timer_ = AddTimer(kPeriod, kUnit, true);
}

boost::shared_ptr<qx::XmlNode> ServicesAgent::GetPersistXml() { return BuildServicesXml(false); }

void ServicesAgent::OnSystemEvent(const qx::response::IResponse&, const qx::SystemEventData* data) {
  if (data == nullptr) return;
  if (data->GetCode() != kItemRemoved) {
    AGENT_LOG(log4cplus::DEBUG_LOG_LEVEL, std::string("Services Agent: Unknown system event \"") +
                                              GetSystemEventName(data->GetCode()) + '"');
    return;
  }
  const auto* const removed = dynamic_cast<const ItemRemovedData*>(data);
  if (removed == nullptr || removed->GetThird() != kShortcutTarget) return;
  if (const auto shortcut = FindShortcutByTarget(removed->GetFirst())) {
    RemoveService(shortcut->id);
  }
}

boost::shared_ptr<qx::XmlNode> ServicesAgent::OnUICmdGetServiceTypes(const ICmdMessage&) {
  return GetServiceTypesXml();
}

boost::shared_ptr<qx::XmlNode> ServicesAgent::OnUICmdGetAllServices(const ICmdMessage&) {
  return BuildServicesXml(false);
}

boost::shared_ptr<qx::XmlNode> ServicesAgent::OnUICmdGetService(const ICmdMessage& message) {
  return BuildServiceXml(message, false);
}

void ServicesAgent::OnCmdGetServiceTypes(const ICmdMessage&, ICmdReturn* reply) {
  setReturnValue(reply, GetServiceTypesXml()->OuterXml());
}

void ServicesAgent::OnCmdGetAllServices(const ICmdMessage&, ICmdReturn* reply) {
  setReturnValue(reply, BuildServicesXml(true)->OuterXml());
}

void ServicesAgent::OnCmdGetService(const ICmdMessage& message, ICmdReturn* reply) {
  setReturnValue(reply, BuildServiceXml(message, true)->OuterXml());
}

boost::shared_ptr<qx::XmlNode> ServicesAgent::BuildServiceXml(const ICmdMessage& message,
                                                              bool dateTimeAsText) const {
  const GuestServiceBase::Ptr service =
      GetService(static_cast<unsigned int>(message.GetParamInt("id")));
  return service ? service->ToXml(dateTimeAsText) : qx::CreateXmlNode();
}
