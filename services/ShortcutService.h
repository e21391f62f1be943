#pragma once

#include <string>

#include "services/GuestServiceBase.h"

/// A shortcut to an item of the controller's project.
class ShortcutService : public GuestServiceBase {
 public:
  ShortcutService() = default;
  ShortcutService(unsigned int serviceId, ID::Item item)
      : GuestServiceBase(serviceId), shortcut_id(item) {}

  ServiceKind GetKind() const override { return KIND_SHORTCUT; }
  void FromString(const std::string& text) override { ReadText(text); }
  void FromXml(const boost::shared_ptr<qx::XmlNode>& element) override;
  /// Ignores the argument: a shortcut has no request time.
  boost::shared_ptr<qx::XmlNode> ToXml(bool dateTimeAsText) const override;

  ID::Item shortcut_id = 0;  // the item that the shortcut stands for
};
