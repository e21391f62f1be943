#include "platform/xml/XmlNode.h"

#include <algorithm>
#include <boost/make_shared.hpp>
#include <charconv>

#include "platform/xml/ParsedText.h"
#include "platform/xml/XmlText.h"

namespace qx {
namespace {

constexpr int kMaxDepth = 64;
constexpr std::string_view kPlaceholderName = "_";  // stands in while an element has no name

/// The attribute of that name; a null one, whose value is "", when the element has none.
pugi::xml_attribute FindAttribute(pugi::xml_node_struct* element, std::string_view name) {
  return pugi::xml_node(element).attribute(std::string(name).c_str());
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
void AppendWhole(Markup& out, const Append& append) {
  const std::size_t before = out.GetSize();
  try {
    append(out);
  } catch (...) {
    out.Truncate(before);
    throw;
  }
}

/// `markup` with `text` in place of the `size` bytes at `position`.
Markup Replace(const Markup& markup, std::size_t position, std::size_t size,
               std::string_view text) {
  Markup out;
  out.Append(markup.GetText().substr(0, position));
  out.Append(text);
  out.Append(markup.GetText(position + size));
  return out;
}

}  // namespace

XmlNode::XmlNode() : iterator_(*this) {}

XmlNode::XmlNode(const boost::shared_ptr<ParsedText>& source, pugi::xml_node_struct* parsed)
    : written_(false), source_(source), parsed_(parsed), iterator_(*this) {}

XmlNode::~XmlNode() = default;

void XmlNode::Initialize(std::string_view name, std::string_view value) {
  Write();
  Markup text;
  AppendEscaped(text, value);
  std::string newName(name);
  if (text.GetSize() + textSize_ != 0) {
    markup_ = Replace(markup_, attributesSize_, textSize_, text.GetText());
  }
  textSize_ = text.GetSize();
  name_ = std::move(newName);
}

void XmlNode::AddChild(const boost::shared_ptr<XmlNode>& child) {
  Write();
  if (child.get() == this) {
    markup_.Append(OuterXml());
  } else {
    AppendWhole(markup_, [&](Markup& markup) { child->AppendOuterXml(markup); });
  }
}

void XmlNode::AddChild(std::string_view name, std::string_view value) {
  XmlNode child;
  child.Initialize(name, value);
  Write();
  AppendWhole(markup_, [&](Markup& markup) { child.AppendOuterXml(markup); });
}

void XmlNode::SetAttribute(std::string_view name, std::string_view value) {
  Write();
  const std::uint64_t bit = NameBit(name);
  if ((attributeNames_ & bit) != 0 && HasAttribute(name)) {
    ReplaceAttribute(name, value);
    return;
  }
  if (markup_.GetSize() == attributesSize_) {
    constexpr std::size_t kUsualSize = 240;
    markup_.Reserve(kUsualSize);
    AppendWhole(markup_, [&](Markup& markup) { AppendAttribute(markup, name, value); });
    attributesSize_ = markup_.GetSize();
  } else {
    Markup attribute;
    AppendAttribute(attribute, name, value);
    markup_ = Replace(markup_, attributesSize_, 0, attribute.GetText());
    attributesSize_ += attribute.GetSize();
  }
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
  Markup attributes;
  for (const pugi::xml_attribute attribute : pugi::xml_node(parsed_).attributes()) {
    const bool replaced = name == attribute.name();
    AppendAttribute(attributes, attribute.name(), replaced ? value : attribute.value());
  }
  markup_ = Replace(markup_, 0, attributesSize_, attributes.GetText());
  attributesSize_ = attributes.GetSize();
  source_.reset();
}

std::string XmlNode::GetAttribute(std::string_view name) const {
  Read();
  return FindAttribute(parsed_, name).value();
}

int XmlNode::GetAttributeNumber(std::string_view name) const {
  Read();
  return ToInt(FindAttribute(parsed_, name).value());
}

bool XmlNode::HasAttribute(std::string_view name) const {
  Read();
  return !FindAttribute(parsed_, name).empty();
}

boost::shared_ptr<XmlNode> XmlNode::GetChild(std::string_view name) const {
  Read();
  pugi::xml_node child = FirstElement(pugi::xml_node(parsed_).first_child());
  while (child && name != child.name()) child = FirstElement(child.next_sibling());
  if (!child) return {};
  return boost::make_shared<XmlNode>(source_, child.internal_object());
}

std::string XmlNode::GetName() const {
  return written_ ? name_ : std::string(pugi::xml_node(parsed_).name());
}

bool XmlNode::IsName(std::string_view name) const {
  return written_ ? name == name_ : name == pugi::xml_node(parsed_).name();
}

std::string XmlNode::OuterXml() const {
  std::string text;
  if (written_) {
    // Straight into the text: a list may be long, and each copy of it counts.
    text.reserve(markup_.GetSize() + 2 * name_.size() + std::string_view("<></>").size());
    WriteTo([&](std::string_view piece) { text += piece; });
  } else {
    Markup markup;
    AppendElement(markup, pugi::xml_node(parsed_));
    text = markup.GetText();
  }
  return text;
}

void XmlNode::AppendOuterXml(Markup& out) const {
  if (written_) {
    WriteTo([&](std::string_view piece) { out.Append(piece); });
  } else {
    AppendElement(out, pugi::xml_node(parsed_));
  }
}

template <typename Append>
void XmlNode::WriteTo(const Append& append) const {
  if (name_.empty()) return;
  const std::string_view content = markup_.GetText(attributesSize_);
  append("<");
  append(name_);
  append(markup_.GetText().substr(0, attributesSize_));
  if (content.empty()) {
    append("/>");
    return;
  }
  append(">");
  append(content);
  append("</");
  append(name_);
  append(">");
}

void XmlNode::Read() const {
  if (source_) return;
  const auto source = boost::make_shared<ParsedText>();
  const std::string_view name = name_.empty() ? kPlaceholderName : name_;
  std::string text(1, '<');
  text.append(name).append(markup_.GetText().substr(0, attributesSize_)).append(1, '>');
  text.append(markup_.GetText(attributesSize_)).append("</").append(name).append(1, '>');
  source->Parse(text, true);
  parsed_ = source->GetRoot().internal_object();
  source_ = source;
}

void XmlNode::WriteParsed() {
  const pugi::xml_node element(parsed_);
  Markup markup;
  std::uint64_t names = 0;
  for (const pugi::xml_attribute attribute : element.attributes()) {
    AppendAttribute(markup, attribute.name(), attribute.value());
    names |= NameBit(attribute.name());
  }
  const std::size_t attributesSize = markup.GetSize();
  std::size_t textSize = 0;  // of what stands before the first child; what comes later stays there
  bool hasChild = false;
  for (const pugi::xml_node node : element.children()) {
    if (node.type() == pugi::node_element) {
      AppendElement(markup, node);
      hasChild = true;
    } else if (node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata) {
      AppendEscaped(markup, node.value());
      if (!hasChild) textSize = markup.GetSize() - attributesSize;
    }
  }
  name_ = element.name();
  markup_ = std::move(markup);
  attributesSize_ = attributesSize;
  textSize_ = textSize;
  attributeNames_ = names;
  written_ = true;
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
