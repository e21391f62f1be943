#include "services/ShortcutService.h"

void ShortcutService::FromXml(const boost::shared_ptr<qx::XmlNode>& element) {
  id = static_cast<unsigned int>(element->GetAttributeNumber("id"));
  shortcut_id = static_cast<ID::Item>(element->GetAttributeNumber("shortcut_id"));
}

boost::shared_ptr<qx::XmlNode> ShortcutService::ToXml(bool) const {
  boost::shared_ptr<qx::XmlNode> element = qx::CreateXmlNode();
  element->Initialize("shortcut", "");
  element->SetAttributeNumber("id", static_cast<int>(id));
  element->SetAttributeNumber("shortcut_id", static_cast<int>(shortcut_id));
  return element;
}
