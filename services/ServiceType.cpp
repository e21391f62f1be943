#include "services/ServiceType.h"

#include <algorithm>
#include <array>

namespace {

constexpr std::array<const char*, Undefined + 1> kNames = {
    "HouseKeeping", "Bellman", "Linens",      "Valet",    "Turndown",
    "Rollaway",     "Privacy", "ServiceRoom", "Undefined"};

}  // namespace

const char* GetServiceTypeName(int id) {
  constexpr unsigned int kUndefined = Undefined;
  return kNames[std::min(static_cast<unsigned int>(id), kUndefined)];
}

boost::shared_ptr<qx::XmlNode> GetServiceTypesXml() {
  boost::shared_ptr<qx::XmlNode> types = qx::CreateXmlNode();
  types->Initialize("service_types", "");
  for (int id = HouseKeeping; id < Undefined; ++id) {
    const boost::shared_ptr<qx::XmlNode> type = qx::CreateXmlNode();
    type->Initialize("service_type", "");
    type->SetAttributeNumber("id", id);
    type->SetAttribute("name", GetServiceTypeName(id));
    types->AddChild(type);
  }
  return types;
}
