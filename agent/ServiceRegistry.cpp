// The agent's list of services: look-ups, changes, and its XML form.
#include <algorithm>
#include <boost/make_shared.hpp>

#include "agent/Log.h"
#include "agent/ServicesAgent.h"

int ServicesAgent::FindServiceIndex(unsigned int id) const {
  const auto found = std::find_if(services_.begin(), services_.end(),
                                  [id](const auto& service) { return service->id == id; });
  return found == services_.end() ? -1 : static_cast<int>(found - services_.begin());
}

int ServicesAgent::FindServiceIndexAgain(unsigned int id, int index) const {
  const auto position = static_cast<std::size_t>(index);
  const bool isThere = position < services_.size() && services_[position]->id == id;
  return isThere ? index : FindServiceIndex(id);
}

GuestServiceBase::Ptr ServicesAgent::GetService(unsigned int id) const {
  const int index = FindServiceIndex(id);
  return index < 0 ? GuestServiceBase::Ptr() : services_[static_cast<std::size_t>(index)];
}

boost::shared_ptr<GuestService> ServicesAgent::GetGuestServiceAt(int index) const {
  if (index < 0) return {};
  return boost::dynamic_pointer_cast<GuestService>(services_[static_cast<std::size_t>(index)]);
}

void ServicesAgent::SetService(const GuestServiceBase::Ptr& service) {
  const int index = FindServiceIndex(service->id);
  if (index < 0) {
    AGENT_LOG(log4cplus::ERROR_LOG_LEVEL, "Trying to set a service, but it doesn't exist.");
    return;
  }
  services_[static_cast<std::size_t>(index)] = service;
}

void ServicesAgent::AppendService(const GuestServiceBase::Ptr& service) {
  services_.push_back(service);
}

unsigned int ServicesAgent::NextServiceId() const {
  unsigned int largest = largestReservedId_;
  for (const auto& service : services_) largest = std::max(largest, service->id);
  return largest + 1;
}

boost::shared_ptr<ShortcutService> ServicesAgent::FindShortcutByTarget(ID::Item item) const {
  for (const auto& service : services_) {
    if (service->GetKind() != KIND_SHORTCUT) continue;
    const auto* const shortcut = static_cast<const ShortcutService*>(service.get());
    if (shortcut->shortcut_id == item) {
      return boost::static_pointer_cast<ShortcutService>(service);
    }
  }
  return {};
}

boost::shared_ptr<qx::XmlNode> ServicesAgent::BuildServicesXml(bool dateTimeAsText) const {
  boost::shared_ptr<qx::XmlNode> root = qx::CreateXmlNode("guest_services", "");
  for (const auto& service : services_) root->AddChild(service->ToXml(dateTimeAsText));
  return root;
}

GuestServiceBase::Ptr ServicesAgent::CreateServiceFromXml(
    const boost::shared_ptr<qx::XmlNode>& element) {
  GuestServiceBase::Ptr service;
  if (element->IsName("guest_service")) {
    service = boost::make_shared<GuestService>();
  } else {
    service = boost::make_shared<ShortcutService>();
  }
  service->FromXml(element);
  return service;
}
