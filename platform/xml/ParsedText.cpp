#include "platform/xml/ParsedText.h"

#include <charconv>
#include <cstdint>
#include <new>

#include "platform/xml/XmlText.h"

namespace qx {
namespace {

// All that may stand beside the root is kept, so that it is seen.
constexpr unsigned kParseOptions = pugi::parse_default | pugi::parse_fragment | pugi::parse_pi |
                                   pugi::parse_doctype | pugi::parse_declaration;

bool IsText(pugi::xml_node node) {
  return node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata;
}

/// Whether there is a reference to the character 0, or to one beyond the last: the parser would end
/// the text there, or make another character of it. Also where it refers to nothing, in a comment
/// or a CDATA section.
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

void AppendStartTag(Markup& out, pugi::xml_node element) {
  out.Append('<');
  out.Append(element.name());
  for (const pugi::xml_attribute attribute : element.attributes()) {
    AppendAttribute(out, attribute.name(), attribute.value());
  }
}

}  // namespace

bool ParsedText::Parse(std::string_view text, bool keepBlanks) {
  if (text.find('\0') != std::string_view::npos || RefersToNoCharacter(text)) return false;
  text_ = text;
  const unsigned options = keepBlanks ? kParseOptions | pugi::parse_ws_pcdata : kParseOptions;
  // With the NUL that ends it: else the parser would take the last character for the end, and not
  // see it where it stands alone after the root.
  const pugi::xml_parse_result result =
      document_.load_buffer_inplace(text_.data(), text_.size() + 1, options, pugi::encoding_utf8);
  if (result.status == pugi::status_out_of_memory) throw std::bad_alloc();
  if (!result) return false;
  root_ = FirstElement(document_.first_child());
  return root_ && !root_.next_sibling();
}

bool ParsedText::IsDeeperThan(int levels) const {
  int depth = 1;
  for (pugi::xml_node node = root_; node;) {
    if (const pugi::xml_node child = FirstElement(node.first_child())) {
      if (++depth > levels) return true;
      node = child;
      continue;
    }
    pugi::xml_node next;
    while (node != root_ && !(next = FirstElement(node.next_sibling()))) {
      node = node.parent();
      --depth;
    }
    node = next;
  }
  return false;
}

pugi::xml_node FirstElement(pugi::xml_node node) {
  while (node && node.type() != pugi::node_element) node = node.next_sibling();
  return node;
}

void AppendElement(Markup& out, pugi::xml_node element) {
  bool startTagOpen = false;
  const auto closeStartTag = [&] {
    if (startTagOpen) out.Append('>');
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
        out.Append(startTagOpen ? "/>" : "</");
        if (!startTagOpen) {
          out.Append(node.name());
          out.Append('>');
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

void AppendAttribute(Markup& out, std::string_view name, std::string_view value) {
  out.Append(' ');
  out.Append(name);
  out.Append("=\"");
  AppendEscaped(out, value);
  out.Append('"');
}

}  // namespace qx
