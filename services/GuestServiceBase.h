#pragma once

#include <boost/shared_ptr.hpp>
#include <string>

#include "platform/platform.h"

enum ServiceKind : int { KIND_GUEST_SERVICE = 0, KIND_SHORTCUT = 1 };

/// An entry of the agent's service list. Always made with `boost::make_shared` and handled through
/// `Ptr`. The fields are plain data: any value is accepted and kept.
class GuestServiceBase {
 public:
  using Ptr = boost::shared_ptr<GuestServiceBase>;

  virtual ~GuestServiceBase() = default;

  virtual ServiceKind GetKind() const { return KIND_GUEST_SERVICE; }
  /// Fills the record from an XML text; text that does not parse changes nothing. Throws what
  /// `FromXml` throws.
  virtual void FromString(const std::string& text) = 0;
  /// Overwrites the record's fields from an element of any name. Throws `std::out_of_range` for a
  /// "DATETIME" that is too short; the other fields have their new values then.
  virtual void FromXml(const boost::shared_ptr<qx::XmlNode>& element) = 0;
  /// A new element that holds the record; the request time as one text or as six numbers.
  virtual boost::shared_ptr<qx::XmlNode> ToXml(bool dateTimeAsText) const = 0;

  /// Unique in the list; 0 until a record has read one.
  unsigned int id = 0;

 protected:
  GuestServiceBase() = default;
  explicit GuestServiceBase(unsigned int serviceId) : id(serviceId) {}

  /// `FromString` of both kinds.
  void ReadText(const std::string& text);
};
