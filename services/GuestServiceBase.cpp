#include "services/GuestServiceBase.h"

void GuestServiceBase::ReadText(const std::string& text) {
  const boost::shared_ptr<qx::XmlDocument> document = qx::CreateXmlDocument(text);
  if (!document) return;
  if (const boost::shared_ptr<qx::XmlNode> root = document->GetRoot()) FromXml(root);
}
