#pragma once

#include <boost/shared_ptr.hpp>

#include "platform/platform.h"

/// The catalogue of service types for user interfaces. `Undefined` stands for every other id and is
/// not in the catalogue.
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

/// Returns the name of a service type, or "Undefined" for an id outside the catalogue.
const char* GetServiceTypeName(int id);

/// Returns a new "service_types" element with the catalogue.
boost::shared_ptr<qx::XmlNode> GetServiceTypesXml();
