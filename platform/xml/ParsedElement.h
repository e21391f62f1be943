#pragma once

#include <boost/shared_ptr.hpp>
#include <pugixml.hpp>
#include <string>
#include <string_view>

#include "platform/xml/NameSet.h"
#include "platform/xml/WrittenElement.h"

namespace qx {

/// A parsed XML text. Every element in it shares ownership of it.
class ParsedText {
 public:
  /// False when `text` does not parse to exactly one element, or contains a NUL byte or a reference
  /// to no character, such as `&#0;`. Text of white space only is kept if `keepBlanks`. To be
  /// called once. Throws `std::bad_alloc` only.
  bool Parse(std::string_view text, bool keepBlanks);

  pugi::xml_node GetRoot() const { return root_; }
  /// Whether an element is nested deeper than `levels`; the root is at level 1.
  bool IsDeeperThan(int levels) const;

 private:
  std::string text_;  // the document's names and values are in it
  pugi::xml_document document_;
  pugi::xml_node root_;
};

/// An element that was parsed: a place in a parsed text, and nothing more. The text does not
/// change. Throws `std::bad_alloc` only.
class ParsedElement {
 public:
  /// No element.
  ParsedElement() = default;
  /// `node` is an element of `source`, or null for no element.
  ParsedElement(const boost::shared_ptr<const ParsedText>& source, pugi::xml_node node)
      : source_(source), node_(node), next_(node.first_attribute()) {}
  /// The element that was written, parsed.
  explicit ParsedElement(const WrittenElement& element);

  bool IsEmpty() const { return node_.empty(); }
  /// "" when the element that was written had none.
  const char* GetName() const { return node_.name(); }
  /// The value of the first attribute of that name, valid as long as the text; null when there is
  /// none.
  const char* FindAttribute(std::string_view name) const;
  /// The first child element; empty when there is none.
  ParsedElement GetFirstChild() const;
  /// Becomes the first element after this one in the same parent; empty when there is none.
  void MoveToNextSibling();

  /// Comments and processing instructions are left out; "" for an element without a name.
  std::string GetOuterXml() const;
  /// The element to be changed.
  WrittenElement Write() const;

 private:
  boost::shared_ptr<const ParsedText> source_;
  pugi::xml_node node_;
  // Attributes are mostly read in the order in which they stand. So a look-up begins at `next_`,
  // but for a name that may be among those before it.
  mutable pugi::xml_attribute next_;
  mutable NameSet passed_;
};

}  // namespace qx
