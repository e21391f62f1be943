#include "platform/xml/ParsedElement.h"

#include <boost/make_shared.hpp>
#include <charconv>
#include <cstdint>
#include <new>

namespace qx {
namespace {

// Nodes beside the root are kept, so that `Parse` can refuse them.
constexpr unsigned kParseOptions = pugi::parse_default | pugi::parse_fragment | pugi::parse_pi |
                                   pugi::parse_doctype | pugi::parse_declaration;

bool IsText(pugi::xml_node node) {
  return node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata;
}

/// Whether the text contains a reference to the character 0 or to one beyond U+10FFFF. The parser
/// would end the text there or decode another character.
bool RefersToNoCharacter(std::string_view text) {
  constexpr std::string_view kReference = "&#";
  constexpr std::uint32_t kLastCharacter = 0x10FFFF;
  for (std::size_t at = text.find(kReference); at != std::string_view::npos;
       at = text.find(kReference, at + 1)) {
    std::string_view digits = text.substr(at + kReference.size());
    const bool isHex = !digits.empty() && digits.front() == 'x';
    if (isHex) digits.remove_prefix(1);
    const char* const end = digits.data() + digits.size();
    std::uint32_t character = 0;
    const auto [next, error] = std::from_chars(digits.data(), end, character, isHex ? 16 : 10);
    if (next == digits.data() || next == end || *next != ';') continue;
    if (error != std::errc() || character == 0 || character > kLastCharacter) return true;
  }
  return false;
}

/// Whether the parser would decode such a reference. It decodes none in comments and CDATA
/// sections.
bool DecodesNoCharacter(std::string_view text) {
  struct Walker : pugi::xml_tree_walker {
    bool for_each(pugi::xml_node& node) override {
      isFound = node.type() == pugi::node_pcdata && RefersToNoCharacter(node.value());
      for (const pugi::xml_attribute attribute : node.attributes()) {
        isFound = isFound || RefersToNoCharacter(attribute.value());
      }
      return !isFound;
    }
    bool isFound = false;
  };
  pugi::xml_document document;
  const pugi::xml_parse_result result = document.load_buffer(
      text.data(), text.size(), kParseOptions & ~pugi::parse_escapes, pugi::encoding_utf8);
  if (result.status == pugi::status_out_of_memory) throw std::bad_alloc();
  Walker walker;
  document.traverse(walker);
  return walker.isFound;
}

/// The first element among `node` and the siblings after it; null when there is none.
pugi::xml_node FirstElement(pugi::xml_node node) {
  while (node && node.type() != pugi::node_element) node = node.next_sibling();
  return node;
}

void AppendStartTag(Markup& out, pugi::xml_node element) {
  Append(out, "<");
  Append(out, element.name());
  for (const pugi::xml_attribute attribute : element.attributes()) {
    const bool isFirstOfItsName = element.attribute(attribute.name()) == attribute;
    if (isFirstOfItsName) AppendAttribute(out, attribute.name(), attribute.value());
  }
}

void AppendElement(Markup& out, pugi::xml_node element) {
  bool startTagOpen = false;
  const auto closeStartTag = [&] {
    if (startTagOpen) Append(out, ">");
    startTagOpen = false;
  };
  // Not recursive: elements that were built, not parsed, may be nested to any depth.
  for (pugi::xml_node node = element; node;) {
    if (IsText(node) && *node.value() != '\0') {
      closeStartTag();
      AppendEscaped(out, node.value());
    } else if (node.type() == pugi::node_element) {
      closeStartTag();
      AppendStartTag(out, node);
      startTagOpen = true;
      if (node.first_child()) {
        node = node.first_child();
        continue;
      }
    }
    // On to the next node, closing what ends on the way.
    for (;;) {
      if (node.type() == pugi::node_element) {
        Append(out, startTagOpen ? "/>" : "</");
        if (!startTagOpen) {
          Append(out, node.name());
          Append(out, ">");
        }
        startTagOpen = false;
      }
      if (node == element) return;
      if (node.next_sibling()) break;
      node = node.parent();
    }
    node = node.next_sibling();
  }
}

}  // namespace

bool ParsedText::Parse(std::string_view text, bool keepBlanks) {
  if (text.find('\0') != std::string_view::npos) return false;
  if (RefersToNoCharacter(text) && DecodesNoCharacter(text)) return false;
  text_ = text;
  const unsigned options = keepBlanks ? kParseOptions | pugi::parse_ws_pcdata : kParseOptions;
  // The size includes the NUL at the end. Otherwise the parser would overwrite the last character
  // with one, and a stray character after the root would not be an error.
  const pugi::xml_parse_result result =
      document_.load_buffer_inplace(text_.data(), text_.size() + 1, options, pugi::encoding_utf8);
  if (result.status == pugi::status_out_of_memory) throw std::bad_alloc();
  if (!result) return false;
  root_ = FirstElement(document_.first_child());
  return root_ && !root_.next_sibling();
}

bool ParsedText::IsDeeperThan(int levels) const {
  struct Walker : pugi::xml_tree_walker {
    explicit Walker(int limit) : levels(limit) {}
    bool for_each(pugi::xml_node& node) override {
      return node.type() != pugi::node_element || depth() < levels;
    }
    int levels;
  };
  Walker walker(levels - 1);
  return !pugi::xml_node(root_).traverse(walker);
}

ParsedElement::ParsedElement(const WrittenElement& element) {
  const auto source = boost::make_shared<ParsedText>();
  source->Parse(element.GetText(), true);
  source_ = source;
  node_ = source->GetRoot();
  if (element.GetName().empty()) node_.set_name("");
  next_ = node_.first_attribute();
}

const char* ParsedElement::FindAttribute(std::string_view name) const {
  if (!name.empty() && passed_.MayContain(name)) {
    for (auto passed = node_.first_attribute(); passed != next_; passed = passed.next_attribute()) {
      const char* const candidate = passed.name();
      const bool isLikely = *candidate == name.front();  // saves most comparisons
      if (isLikely && name == candidate) return passed.value();
    }
  }
  // After the last attribute there is a null one. Its name is empty, as no other's is.
  for (;;) {
    const pugi::xml_attribute attribute = next_;
    const std::string_view candidate = attribute.name();
    if (candidate.empty()) return nullptr;
    passed_.Add(candidate);
    next_ = attribute.next_attribute();
    if (candidate == name) return attribute.value();
  }
}

ParsedElement ParsedElement::GetFirstChild() const {
  return ParsedElement(source_, FirstElement(node_.first_child()));
}

void ParsedElement::MoveToNextSibling() {
  node_ = FirstElement(node_.next_sibling());
  next_ = node_.first_attribute();
  passed_ = NameSet();
}

std::string ParsedElement::GetOuterXml() const {
  if (*GetName() == '\0') return {};
  Markup text;
  AppendElement(text, node_);
  return std::string(View(text));
}

WrittenElement ParsedElement::Write() const {
  pugi::xml_node node = node_.first_child();
  std::string text;
  for (; node && node.type() != pugi::node_element; node = node.next_sibling()) {
    if (IsText(node)) text += node.value();
  }
  WrittenElement element;
  element.Initialize(node_.name(), text);
  for (const pugi::xml_attribute attribute : node_.attributes()) {
    if (!element.HasAttribute(attribute.name())) {
      element.SetAttribute(attribute.name(), attribute.value());
    }
  }
  for (; node; node = node.next_sibling()) {
    Markup markup;
    if (IsText(node)) {
      AppendEscaped(markup, node.value());
    } else if (node.type() == pugi::node_element) {
      AppendElement(markup, node);
    }
    element.AddContent(View(markup));
  }
  return element;
}

}  // namespace qx
