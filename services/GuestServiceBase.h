#pragma once

#include <boost/shared_ptr.hpp>
#include <string>

#include "platform/platform.h"

enum ServiceKind : int { KIND_GUEST_SERVICE = 0, KIND_SHORTCUT = 1 };

/// An entry of the agent's list. Create it with `boost::make_shared` and hold it through `Ptr`:
/// shared ownership keeps it alive while a handler works on it. The fields are plain data without
/// validation.
class GuestServiceBase {
 public:
  using Ptr = boost::shared_ptr<GuestServiceBase>;

  virtual ~GuestServiceBase() = default;

  virtual ServiceKind GetKind() const { return KIND_GUEST_SERVICE; }
  /// Reads the record from an XML text. A text that does not parse changes nothing. Throws what
  /// `FromXml` throws.
  virtual void FromString(const std::string& text) = 0;
  /// Reads the record's fields from an element of any name. Throws `std::out_of_range` for a
  /// "DATETIME" of less than 17 characters; the other fields then have their new values (basic
  /// exception guarantee).
  virtual void FromXml(const boost::shared_ptr<qx::XmlNode>& element) = 0;
  /// Returns a new element with the record, the request time as one text or as six numbers.
  virtual boost::shared_ptr<qx::XmlNode> ToXml(bool dateTimeAsText) const = 0;

  /// Unique in the list, unless the restored state has duplicates. 0 in a new record.
  unsigned int id = 0;

 protected:
  GuestServiceBase() = default;
  explicit GuestServiceBase(unsigned int serviceId) : id(serviceId) {}

  /// Implements `FromString` for both kinds.
  void ReadText(const std::string& text);
};
