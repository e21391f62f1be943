#pragma once

#include <pugixml.hpp>
#include <string>
#include <string_view>

#include "platform/xml/Markup.h"

namespace qx {

/// A parsed XML text, kept alive by every element that is a place in it.
class ParsedText {
 public:
  /// False when `text` does not parse to exactly one element, or has what no XML has: a NUL byte or
  /// a reference such as `&#0;`. Text of nothing but white space is left out unless `keepBlanks`.
  /// Throws `std::bad_alloc` only.
  bool Parse(std::string_view text, bool keepBlanks);

  pugi::xml_node GetRoot() const { return root_; }
  bool IsDeeperThan(int levels) const;

 private:
  std::string text_;  // the document's names and values are in it
  pugi::xml_document document_;
  pugi::xml_node root_;
};

/// The first element among `node` and the siblings after it; null when there is none.
pugi::xml_node FirstElement(pugi::xml_node node);

/// Appends the element as `XmlNode::OuterXml` gives it. Comments and processing instructions are
/// left out.
void AppendElement(Markup& out, pugi::xml_node element);

/// Appends ` name="value"`.
void AppendAttribute(Markup& out, std::string_view name, std::string_view value);

}  // namespace qx
