#include "platform/xml/XmlNode.h"

#include <boost/make_shared.hpp>
#include <charconv>
#include <cstdint>
#include <variant>

#include "platform/xml/ParsedElement.h"
#include "platform/xml/WrittenElement.h"

namespace qx {

/// What stands behind an `XmlNode` and its iterator, in one allocation. An element is written or
/// parsed. Reading converts a written element to a parsed one; changing converts it back.
struct Element final : XmlNode, XmlNodeIterator {
  explicit Element(WrittenElement written) : form(std::move(written)) {}
  explicit Element(ParsedElement parsed) : form(std::move(parsed)) {}

  mutable std::variant<WrittenElement, ParsedElement> form;
  ParsedElement next;  // the iterator's
};

namespace {

constexpr int kMaxDepth = 64;

const Element& Of(const XmlNode& node) { return static_cast<const Element&>(node); }

const ParsedElement& Read(const XmlNode& node) {
  auto& form = Of(node).form;
  if (const auto* const written = std::get_if<WrittenElement>(&form)) {
    form = ParsedElement(*written);
  }
  return std::get<ParsedElement>(form);
}

WrittenElement& Write(XmlNode& node) {
  auto& form = Of(node).form;
  if (const auto* const parsed = std::get_if<ParsedElement>(&form)) form = parsed->Write();
  return std::get<WrittenElement>(form);
}

boost::shared_ptr<XmlNode> MakeNode(ParsedElement parsed) {
  if (parsed.IsEmpty()) return {};
  return boost::make_shared<Element>(std::move(parsed));
}

}  // namespace

void XmlNode::Initialize(std::string_view name, std::string_view value) {
  Write(*this).Initialize(name, value);
}

void XmlNode::AddChild(const boost::shared_ptr<XmlNode>& child) {
  WrittenElement& parent = Write(*this);
  const auto& form = Of(*child).form;
  if (const auto* const written = std::get_if<WrittenElement>(&form)) {
    parent.AddChild(*written);
  } else {
    parent.AddContent(std::get<ParsedElement>(form).GetOuterXml());
  }
}

void XmlNode::AddChild(std::string_view name, std::string_view value) {
  WrittenElement child;
  child.Initialize(name, value);
  Write(*this).AddChild(child);
}

void XmlNode::SetAttribute(std::string_view name, std::string_view value) {
  Write(*this).SetAttribute(name, value);
}

void XmlNode::SetAttributeNumber(std::string_view name, int value) {
  char digits[16];
  const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
  SetAttribute(name, std::string_view(digits, static_cast<std::size_t>(end - digits)));
}

std::string XmlNode::GetAttribute(std::string_view name) const {
  const char* const value = Read(*this).FindAttribute(name);
  return value != nullptr ? value : "";
}

int XmlNode::GetAttributeNumber(std::string_view name) const {
  const char* const value = Read(*this).FindAttribute(name);
  return value != nullptr ? ToInt(value) : 0;
}

bool XmlNode::HasAttribute(std::string_view name) const {
  return Read(*this).FindAttribute(name) != nullptr;
}

boost::shared_ptr<XmlNode> XmlNode::GetChild(std::string_view name) const {
  ParsedElement child = Read(*this).GetFirstChild();
  while (!child.IsEmpty() && name != child.GetName()) child.MoveToNextSibling();
  return MakeNode(std::move(child));
}

XmlNodeIterator* XmlNode::GetIterator() { return static_cast<Element*>(this); }

std::string XmlNode::GetName() const {
  return std::visit([](const auto& form) { return std::string(form.GetName()); }, Of(*this).form);
}

bool XmlNode::IsName(std::string_view name) const {
  return std::visit([&](const auto& form) { return name == form.GetName(); }, Of(*this).form);
}

std::string XmlNode::OuterXml() const {
  return std::visit([](const auto& form) { return form.GetOuterXml(); }, Of(*this).form);
}

boost::shared_ptr<XmlNode> XmlNodeIterator::GetFirst() {
  auto& element = static_cast<Element&>(*this);
  element.next = Read(element).GetFirstChild();
  return GetNext();
}

boost::shared_ptr<XmlNode> XmlNodeIterator::GetNext() {
  ParsedElement& next = static_cast<Element&>(*this).next;
  auto node = MakeNode(next);
  next.MoveToNextSibling();
  return node;
}

XmlDocument::XmlDocument(const boost::shared_ptr<XmlNode>& root) : root_(root) {}
XmlDocument::~XmlDocument() = default;

boost::shared_ptr<XmlNode> XmlDocument::GetRoot() const { return root_; }

boost::shared_ptr<XmlNode> CreateXmlNode() { return boost::make_shared<Element>(WrittenElement()); }

boost::shared_ptr<XmlNode> CreateXmlNode(std::string_view name, std::string_view value) {
  WrittenElement element;
  element.Initialize(name, value);
  return boost::make_shared<Element>(std::move(element));
}

boost::shared_ptr<XmlDocument> CreateXmlDocument(std::string_view text) {
  const auto source = boost::make_shared<ParsedText>();
  if (!source->Parse(text, false) || source->IsDeeperThan(kMaxDepth)) return {};
  return boost::make_shared<XmlDocument>(MakeNode(ParsedElement(source, source->GetRoot())));
}

int ToInt(const char* text) {
  const bool negative = *text == '-';
  if (*text == '-' || *text == '+') ++text;
  std::uint32_t value = 0;
  for (; *text >= '0' && *text <= '9'; ++text) {
    value = value * 10 + static_cast<std::uint32_t>(*text - '0');
  }
  return static_cast<int>(negative ? 0 - value : value);
}

}  // namespace qx

void XmlHelper::toXml(int value, boost::shared_ptr<qx::XmlNode>& element, const char* name) {
  element->AddChild(name, std::to_string(value));
}

void XmlHelper::toXml(unsigned int value, boost::shared_ptr<qx::XmlNode>& element,
                      const char* name) {
  element->AddChild(name, std::to_string(value));
}
