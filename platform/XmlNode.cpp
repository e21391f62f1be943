#include "platform/XmlNode.h"

#include <algorithm>
#include <boost/make_shared.hpp>
#include <charconv>

#include "platform/ParsedText.h"
#include "platform/XmlText.h"

namespace qx {
namespace {

constexpr int kMaxDepth = 64;
constexpr std::string_view kPlaceholderName = "_";  // stands in while an element has no name

/// The attribute's value; null when the element has none of that name.
const char* FindValue(pugi::xml_node element, std::string_view name) {
  for (const pugi::xml_attribute attribute : element.attributes()) {
    if (name == attribute.name()) return attribute.value();
  }
  return nullptr;
}

std::uint64_t NameBit(std::string_view name) {
  std::uint64_t hash = name.size();
  if (!name.empty()) {
    hash = (hash * 31 + static_cast<unsigned char>(name.front())) * 7 +
           static_cast<unsigned char>(name.back());
  }
  return std::uint64_t{1} << (hash % 64);
}

/// Lets `append` add to `out`, all or nothing.
template <typename Append>
void AppendWhole(std::string& out, const Append& append) {
  const std::size_t before = out.size();
  try {
    append(out);
  } catch (...) {
    out.resize(before);
    throw;
  }
}

}  // namespace

XmlNode::XmlNode() : iterator_(*this) {}

XmlNode::XmlNode(const boost::shared_ptr<ParsedText>& source, pugi::xml_node_struct* parsed)
    : written_(false), source_(source), parsed_(parsed), iterator_(*this) {}

XmlNode::~XmlNode() = default;

void XmlNode::Initialize(std::string_view name, std::string_view value) {
  Write();
  std::string text;
  AppendEscaped(text, value);
  name_ = name;
  text_ = std::move(text);
}

void XmlNode::AddChild(const boost::shared_ptr<XmlNode>& child) {
  Write();
  if (child.get() == this) {
    children_ += OuterXml();
  } else {
    AppendWhole(children_, [&](std::string& children) { child->AppendOuterXml(children); });
  }
}

void XmlNode::AddChild(std::string_view name, std::string_view value) {
  XmlNode child;
  child.Initialize(name, value);
  Write();
  child.AppendOuterXml(children_);
}

void XmlNode::SetAttribute(std::string_view name, std::string_view value) {
  Write();
  const std::uint64_t bit = NameBit(name);
  if ((attributeNames_ & bit) != 0 && HasAttribute(name)) {
    ReplaceAttribute(name, value);
    return;
  }
  constexpr std::size_t kUsualSize = 240;
  if (attributes_.empty()) attributes_.reserve(kUsualSize);
  AppendWhole(attributes_, [&](std::string& out) { AppendAttribute(out, name, value); });
  source_.reset();
  attributeNames_ |= bit;
}

void XmlNode::SetAttributeNumber(std::string_view name, int value) {
  char digits[16];
  const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
  SetAttribute(name, std::string_view(digits, static_cast<std::size_t>(end - digits)));
}

void XmlNode::ReplaceAttribute(std::string_view name, std::string_view value) {
  Read();
  std::string attributes;
  for (const pugi::xml_attribute attribute : pugi::xml_node(parsed_).attributes()) {
    const bool replaced = name == attribute.name();
    AppendAttribute(attributes, attribute.name(), replaced ? value : attribute.value());
  }
  attributes_ = std::move(attributes);
  source_.reset();
}

std::string XmlNode::GetAttribute(std::string_view name) const {
  Read();
  const char* value = FindValue(pugi::xml_node(parsed_), name);
  return value != nullptr ? value : "";
}

int XmlNode::GetAttributeNumber(std::string_view name) const {
  Read();
  const char* value = FindValue(pugi::xml_node(parsed_), name);
  return value != nullptr ? ToInt(value) : 0;
}

bool XmlNode::HasAttribute(std::string_view name) const {
  Read();
  return FindValue(pugi::xml_node(parsed_), name) != nullptr;
}

boost::shared_ptr<XmlNode> XmlNode::GetChild(std::string_view name) const {
  XmlNodeIterator children(*this);
  boost::shared_ptr<XmlNode> child = children.GetFirst();
  while (child && !child->IsName(name)) child = children.GetNext();
  return child;
}

std::string XmlNode::GetName() const {
  return written_ ? name_ : std::string(pugi::xml_node(parsed_).name());
}

bool XmlNode::IsName(std::string_view name) const {
  return written_ ? name == name_ : name == pugi::xml_node(parsed_).name();
}

std::string XmlNode::OuterXml() const {
  std::string text;
  AppendOuterXml(text);
  return text;
}

void XmlNode::AppendOuterXml(std::string& out) const {
  if (!written_) {
    AppendElement(out, pugi::xml_node(parsed_));
    return;
  }
  if (name_.empty()) return;
  constexpr std::size_t kPunctuation = 5;
  const std::size_t size =
      2 * name_.size() + attributes_.size() + text_.size() + children_.size() + kPunctuation;
  // Growing by less than double each time would copy a long list once for each of its elements.
  if (out.capacity() - out.size() < size) out.reserve(out.size() + std::max(size, out.size()));
  out.append(1, '<').append(name_).append(attributes_);
  if (text_.empty() && children_.empty()) {
    out.append("/>");
  } else {
    out.append(1, '>').append(text_).append(children_);
    out.append("</").append(name_).append(1, '>');
  }
}

void XmlNode::Read() const {
  if (source_) return;
  const auto source = boost::make_shared<ParsedText>();
  std::string text(1, '<');
  text.append(name_.empty() ? kPlaceholderName : name_).append(attributes_).append(1, '>');
  text.append(text_).append(children_);
  text.append("</").append(name_.empty() ? kPlaceholderName : name_).append(1, '>');
  source->Parse(text, true);
  parsed_ = source->GetRoot().internal_object();
  source_ = source;
}

void XmlNode::Write() {
  if (written_) {
    source_.reset();
    return;
  }
  const pugi::xml_node element(parsed_);
  std::string attributes;
  std::uint64_t names = 0;
  for (const pugi::xml_attribute attribute : element.attributes()) {
    AppendAttribute(attributes, attribute.name(), attribute.value());
    names |= NameBit(attribute.name());
  }
  std::string text;  // what stands before the first child; what comes later is left in its place
  std::string children;
  for (const pugi::xml_node node : element.children()) {
    if (node.type() == pugi::node_element) {
      AppendElement(children, node);
    } else if (node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata) {
      AppendEscaped(children.empty() ? text : children, node.value());
    }
  }
  name_ = element.name();
  attributes_ = std::move(attributes);
  text_ = std::move(text);
  children_ = std::move(children);
  attributeNames_ = names;
  written_ = true;
  source_.reset();
}

boost::shared_ptr<XmlNode> XmlNodeIterator::GetFirst() {
  element_.Read();
  source_ = element_.source_;
  next_ = FirstElement(pugi::xml_node(element_.parsed_).first_child()).internal_object();
  return GetNext();
}

boost::shared_ptr<XmlNode> XmlNodeIterator::GetNext() {
  const pugi::xml_node current(next_);
  if (!current) return {};
  auto child = boost::make_shared<XmlNode>(source_, next_);
  next_ = FirstElement(current.next_sibling()).internal_object();
  return child;
}

boost::shared_ptr<XmlNode> CreateXmlNode() { return boost::make_shared<XmlNode>(); }

boost::shared_ptr<XmlNode> CreateXmlNode(std::string_view name, std::string_view value) {
  auto element = boost::make_shared<XmlNode>();
  element->Initialize(name, value);
  return element;
}

boost::shared_ptr<XmlDocument> CreateXmlDocument(std::string_view text) {
  const auto source = boost::make_shared<ParsedText>();
  if (!source->Parse(text, false) || source->IsDeeperThan(kMaxDepth)) return {};
  return boost::make_shared<XmlDocument>(
      boost::make_shared<XmlNode>(source, source->GetRoot().internal_object()));
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
