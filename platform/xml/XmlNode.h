#pragma once

#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/Types.h"
#include "platform/xml/Markup.h"

namespace pugi {
struct xml_node_struct;
}

namespace qx {

class ParsedText;
class XmlNode;

/// Walks the child elements of an element. Belongs to the element: there is one for each, and it is
/// valid as long as the element is.
class PLATFORM_API XmlNodeIterator {
 public:
  /// The first child element, as it is now; empty when there is none.
  boost::shared_ptr<XmlNode> GetFirst();
  /// The child element after the one last returned; empty when there is none.
  boost::shared_ptr<XmlNode> GetNext();

 private:
  friend class XmlNode;
  explicit XmlNodeIterator(const XmlNode& element) : element_(element) {}

  const XmlNode& element_;
  boost::shared_ptr<ParsedText> source_;
  pugi::xml_node_struct* next_ = nullptr;
};

/// An XML element: a name, a text, attributes in the order in which they were set, and child
/// elements. Names must be XML names; texts and attribute values may be any bytes. Reading what is
/// absent gives "" and 0. Every operation may throw `std::bad_alloc`, nothing else. [any time]
class PLATFORM_API XmlNode {
 public:
  XmlNode();
  /// A place in a parsed text; elements read from a text are made so.
  XmlNode(const boost::shared_ptr<ParsedText>& source, pugi::xml_node_struct* parsed);
  ~XmlNode();
  XmlNode(const XmlNode&) = delete;
  XmlNode& operator=(const XmlNode&) = delete;

  /// Gives the element its name and text; attributes and children stay.
  void Initialize(std::string_view name, std::string_view value);

  /// Appends `child` as it is now: changing `child` afterwards does not change this element.
  void AddChild(const boost::shared_ptr<XmlNode>& child);
  /// Appends a new child element with that name and text.
  void AddChild(std::string_view name, std::string_view value);

  /// Sets an attribute; one that is set already keeps its place and takes the new value.
  void SetAttribute(std::string_view name, std::string_view value);
  void SetAttributeNumber(std::string_view name, int value);

  std::string GetAttribute(std::string_view name) const;
  /// The attribute's value read as `ToInt` reads it.
  int GetAttributeNumber(std::string_view name) const;
  bool HasAttribute(std::string_view name) const;

  /// The first child element of that name, as it is now; empty when there is none.
  boost::shared_ptr<XmlNode> GetChild(std::string_view name) const;
  XmlNodeIterator* GetIterator() { return &iterator_; }

  std::string GetName() const;
  bool IsName(std::string_view name) const;

  /// The element as one line of UTF-8 text: no declaration, `<a/>` for an element with nothing in
  /// it. Always well-formed: `& < > "`, tab, newline and return are escaped, and what XML 1.0
  /// cannot carry is written as U+FFFD. An element without a name gives "".
  std::string OuterXml() const;

 private:
  friend class XmlNodeIterator;

  // An element is written, parsed, or both. Written: its attributes and content are kept as the
  // text that they will be, so that handing them on is a copy of bytes. Parsed: a place in a parsed
  // text. Reading parses what was only written; changing writes what was only parsed.
  void Read() const;
  void Write() {
    if (!written_) WriteParsed();
    source_.reset();
  }
  void WriteParsed();
  void ReplaceAttribute(std::string_view name, std::string_view value);
  void AppendOuterXml(Markup& out) const;
  /// Hands a written element's `OuterXml` to `append`, piece by piece.
  template <typename Append>
  void WriteTo(const Append& append) const;

  std::string name_;
  Markup markup_;  // the attributes, the text, the children, one after another
  std::size_t attributesSize_ = 0;
  std::size_t textSize_ = 0;
  std::uint64_t attributeNames_ = 0;  // a bit for each name that may have been set
  bool written_ = true;
  mutable boost::shared_ptr<ParsedText> source_;
  mutable pugi::xml_node_struct* parsed_ = nullptr;
  XmlNodeIterator iterator_;
};

/// A text that parsed. [any time]
class PLATFORM_API XmlDocument {
 public:
  explicit XmlDocument(const boost::shared_ptr<XmlNode>& root) : root_(root) {}

  /// The root element; never empty.
  boost::shared_ptr<XmlNode> GetRoot() const { return root_; }

 private:
  boost::shared_ptr<XmlNode> root_;
};

/// A new element without a name.
PLATFORM_API boost::shared_ptr<XmlNode> CreateXmlNode();
PLATFORM_API boost::shared_ptr<XmlNode> CreateXmlNode(std::string_view name,
                                                      std::string_view value);

/// Parses a text. Empty when it does not parse: also when it has no root element or more than one,
/// anything but white space and comments after the root, a NUL byte, a reference to the
/// character 0 or beyond the last, or elements nested deeper than 64. Throws `std::bad_alloc` only.
/// The nodes of the document share one copy of the text.
PLATFORM_API boost::shared_ptr<XmlDocument> CreateXmlDocument(std::string_view text);

/// The decimal integer, with or without a sign, that `text` begins with; 0 when there is none. A
/// number outside 32 bits gives its low 32 bits.
PLATFORM_API int ToInt(const char* text);

}  // namespace qx

/// Writes a number into an element, as a child element named `name`.
class PLATFORM_API XmlHelper {
 public:
  static void toXml(int value, boost::shared_ptr<qx::XmlNode>& element, const char* name);
  static void toXml(unsigned int value, boost::shared_ptr<qx::XmlNode>& element, const char* name);
};
