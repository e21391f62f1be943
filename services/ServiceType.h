#pragma once

#include <boost/shared_ptr.hpp>

#include "platform/platform.h"

/// The catalogue of service types that is offered to user interfaces. `Undefined` stands for every
/// other id and is not offered.
enum ServiceType : int {
  HouseKeeping,
  Bellman,
  Linens,
  Valet,
  Turndown,
  Rollaway,
  Privacy,
  ServiceRoom,
  Undefined
};

/// The name of a service type; "Undefined" for any id outside the catalogue.
const char* GetServiceTypeName(int id);

/// A new "service_types" element with the catalogue.
boost::shared_ptr<qx::XmlNode> GetServiceTypesXml();
