#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "platform/xml/NameSet.h"
#include "platform/xml/XmlText.h"

namespace qx {

/// An element that is being built, kept as the text that it will be: to append it to another, or to
/// hand it out, is a copy of its bytes. Attributes and children cannot be read from it; see
/// `ParsedElement`. An operation that throws has changed nothing.
class WrittenElement {
 public:
  /// Gives the element its name, which may be empty, and its text; attributes and children stay.
  void Initialize(std::string_view name, std::string_view value);
  void SetAttribute(std::string_view name, std::string_view value);
  /// Appends a copy of `child`, which may be this element. A child without a name is not appended.
  void AddChild(const WrittenElement& child);
  /// Appends markup of whole elements or escaped text.
  void AddContent(std::string_view markup);

  std::string_view GetName() const { return isNamed_ ? View(text_).substr(1, nameSize_) : ""; }
  /// Whether an attribute of that name is set.
  bool HasAttribute(std::string_view name) const;
  /// "" for an element without a name.
  std::string GetOuterXml() const { return isNamed_ ? GetText() : ""; }
  /// As `GetOuterXml`; an element without a name has the name `_` there.
  std::string GetText() const;

 private:
  bool HasContent() const { return text_.size() > startSize_; }
  std::size_t GetOuterSize() const;
  /// Hands the element's text to `write`, piece by piece.
  template <typename Write>
  void WriteOuterXml(const Write& write) const;
  /// Appends `size` characters to the content, for the caller to write.
  char* ExtendContent(std::size_t size);
  /// The value of the attribute of that name, escaped; its data is null when there is none.
  std::string_view FindAttribute(std::string_view name) const;
  /// Puts `markup` in place of the `size` characters at `position`.
  void Replace(std::size_t position, std::size_t size, std::string_view markup);

  Markup text_;                // the start tag, open; if there is content, `>` and the content
  std::size_t nameSize_ = 0;   // of the name in the text, or of what stands in its place
  std::size_t startSize_ = 0;  // of the start tag in the text
  std::size_t textSize_ = 0;   // of the text at the content's start, which `Initialize` replaces
  NameSet names_;              // of the attributes
  bool isNamed_ = false;
};

}  // namespace qx
