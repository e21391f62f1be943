// The commands that change the list of services, and the notifications of all changes.
#include <algorithm>
#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>
#include <boost/lexical_cast.hpp>
#include <boost/make_shared.hpp>

#include "agent/Log.h"
#include "agent/ServicesAgent.h"

namespace {

constexpr const char* PROGRAMMING_MANAGER_INTERFACE_ID = "{6F063745-6325-4F53-89D7-FFE5ED4CC1B0}";
constexpr CI_OWNER_ID_TYPE kOwnerType{3};

bool IsShortcut(const ICmdMessage& message) { return message.GetParam("type") == "shortcut"; }

/// Reserves the id of a service while a command adds or removes it. A re-entrant ADD_SERVICE then
/// assigns another id, so that the notifications of the two services cannot be confused.
class ReservedId {
 public:
  ReservedId(unsigned int& largest, unsigned int id) : largest_(largest), before_(largest) {
    largest = std::max(largest, id);
  }
  ~ReservedId() { largest_ = before_; }
  ReservedId(const ReservedId&) = delete;
  ReservedId& operator=(const ReservedId&) = delete;

 private:
  unsigned int& largest_;
  unsigned int before_;
};

}  // namespace

void ServicesAgent::OnCmdAddService(const ICmdMessage& message) {
  const bool isShortcut = IsShortcut(message);
  const unsigned int id = NextServiceId();
  GuestServiceBase::Ptr service;
  {
    const ReservedId reserved(largestReservedId_, id);
    if (isShortcut) {
      AGENT_LOG(log4cplus::DEBUG_LOG_LEVEL, "Creating Shortcut Guest Service");
      const auto target = static_cast<ID::Item>(message.GetParamInt("shortcut_id"));
      service = boost::make_shared<ShortcutService>(id, target);
    } else {
      AGENT_LOG(log4cplus::DEBUG_LOG_LEVEL, "Creating Guest Service");
      const std::string name = message.GetParamText("name");
      const std::string description = message.GetParam("description");
      const int icon = message.GetParamInt("icon");
      const int delay = message.GetParamInt("delay");
      const std::string requestCode = message.GetParam("operarequest");
      service = boost::make_shared<GuestService>(id, name, description, icon, delay, requestCode);
      SendBoundNotice("SERVICE_ADDED", id);
    }
    AppendService(service);
  }
  SendEntryNotice("service_added", *service);
}

void ServicesAgent::OnCmdEditService(const ICmdMessage& message) {
  if (IsShortcut(message)) {
    EditShortcut(message.GetParamText("shortcut"));
    return;
  }
  AGENT_LOG(log4cplus::DEBUG_LOG_LEVEL, "Editing guest service");
  const auto service = boost::make_shared<GuestService>();
  service->FromString(message.GetParamText("guest_service"));
  // The id stays 0 if the text is not a document or has no id.
  const auto stored = service->id != 0 ? GetGuestServiceAt(FindServiceIndex(service->id)) : nullptr;
  if (!stored) {
    AGENT_LOG(log4cplus::ERROR_LOG_LEVEL, "Edit Service, service doesn't exist");
    return;
  }
  service->state = stored->state;
  service->request_time = stored->request_time;
  SetService(service);
  SendBoundNotice("SERVICE_CHANGED", service->id);
  SendEntryNotice("service_changed", *service);
}

void ServicesAgent::EditShortcut(const std::string& text) {
  const auto shortcut = boost::make_shared<ShortcutService>();
  shortcut->FromString(text);
  if (shortcut->id == 0) return;
  const GuestServiceBase::Ptr stored = GetService(shortcut->id);
  if (!stored || stored->GetKind() != KIND_SHORTCUT) return;
  SetService(shortcut);
  SendEntryNotice("service_changed", *shortcut);
}

void ServicesAgent::OnCmdRemoveService(const ICmdMessage& message) {
  RemoveService(static_cast<unsigned int>(message.GetParamInt("id")));
}

void ServicesAgent::RemoveService(unsigned int id) {
  if (FindServiceIndex(id) < 0) return;
  const ReservedId reserved(largestReservedId_, id);
  RemoveProgramming(id);
  RemoveProgramming(id + kCancelEventOffset);
  const int index = FindServiceIndex(id);  // a re-entrant command may have changed the list
  if (index < 0) return;
  services_.erase(services_.begin() + index);
  SendIdNotice("service_removed", id);
  EmRemoveByOwner(id, kOwnerType);
  SendBoundNotice("SERVICE_REMOVED", id);
}

void ServicesAgent::RemoveProgramming(ID::Item item) {
  void* instance = nullptr;
  GetInstanceManager().GetInterface(PROGRAMMING_MANAGER_INTERFACE_ID, &instance);
  if (instance == nullptr) {
    qx::AssertWrite(kSourceFile, __LINE__, qx::StackTrace());
    return;
  }
  auto* const programming = static_cast<IProgrammingManager*>(instance);
  programming->RemoveOwnedProgramming(GetDeviceId(), item, kOwnerType);
  programming->RemoveItemProgramming(GetDeviceId(), item);
  AGENT_LOG(log4cplus::INFO_LOG_LEVEL, "ServicesAgent: RemoveProgramming successful.");
}

void ServicesAgent::OnCmdReorderServices(const ICmdMessage& message) {
  const std::string order = message.GetParamText("order");
  std::vector<std::string> items;
  boost::split(items, order, boost::is_any_of(","));
  std::vector<GuestServiceBase::Ptr> ordered;
  ordered.reserve(items.size());
  std::vector<bool> isTaken(services_.size());
  bool isWhole = items.size() == services_.size();
  for (const std::string& item : items) {
    const int index = FindServiceIndex(static_cast<unsigned int>(boost::lexical_cast<int>(item)));
    if (index < 0 || isTaken[static_cast<std::size_t>(index)]) {
      isWhole = false;
      continue;
    }
    isTaken[static_cast<std::size_t>(index)] = true;
    ordered.push_back(services_[static_cast<std::size_t>(index)]);
  }
  if (!isWhole) {
    AGENT_LOG(log4cplus::ERROR_LOG_LEVEL,
              "Reorder Services, order doesn't name every service exactly once");
    return;
  }
  std::copy(ordered.begin(), ordered.end(), services_.begin());
  const auto element = qx::CreateXmlNode("services_reordered", "");
  element->AddChild("order", order);
  SendDataToUI(element);
}

void ServicesAgent::SendIdNotice(const char* name, unsigned int id) const {
  auto element = qx::CreateXmlNode();
  element->Initialize(name, "");
  XmlHelper::toXml(id, element, "id");
  SendDataToUI(element);
}

void ServicesAgent::SendEntryNotice(const char* name, const GuestServiceBase& service) const {
  const auto element = qx::CreateXmlNode(name, "");
  element->AddChild(service.ToXml(false));
  SendDataToUI(element);
}

void ServicesAgent::SendBoundNotice(const char* name, unsigned int id) const {
  constexpr int kCommandKind = 2;
  const auto message = CreateBindMessage();
  message->SetCommand(kCommandKind, name);
  message->AddParam("id", "INT", id);
  SendBoundCall(kBindingId, *message, nullptr);
}
