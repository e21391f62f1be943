#pragma once

#include <boost/shared_ptr.hpp>
#include <string>
#include <string_view>

#include "platform/Types.h"

// The members of these classes are out of line and the data behind them is not declared here: a
// plug-in that was compiled against this header does not depend on how an element is kept.

namespace qx {

class XmlNode;

/// Walks the child elements of an element. The element owns its one iterator: it is valid as long
/// as the element is. [any time]
class PLATFORM_API XmlNodeIterator {
 public:
  XmlNodeIterator(const XmlNodeIterator&) = delete;
  XmlNodeIterator& operator=(const XmlNodeIterator&) = delete;

  /// The first child element, as it is now; empty when there is none. Throws `std::bad_alloc` only.
  boost::shared_ptr<XmlNode> GetFirst();
  /// The child element after the one last returned; empty when there is none. Changes that were
  /// made to the element after `GetFirst` are not seen. Throws `std::bad_alloc` only.
  boost::shared_ptr<XmlNode> GetNext();

 private:
  friend struct Element;
  XmlNodeIterator() = default;
  ~XmlNodeIterator() = default;
};

/// An XML element: a name, a text, attributes in the order in which they were set, and child
/// elements. Names must be XML names; texts and attribute values may be any bytes. Reading what is
/// absent gives "" and 0; of attributes of the same name in a parsed text the first counts. Every
/// operation may throw `std::bad_alloc`, nothing else, and has changed nothing then. [any time]
class PLATFORM_API XmlNode {
 public:
  XmlNode(const XmlNode&) = delete;
  XmlNode& operator=(const XmlNode&) = delete;

  /// Gives the element its name and text; attributes and children stay.
  void Initialize(std::string_view name, std::string_view value);

  /// Appends a copy of `child` as it is now: changing `child` afterwards does not change this
  /// element. A child without a name is not appended. `child` must not be null; it may be this
  /// element.
  void AddChild(const boost::shared_ptr<XmlNode>& child);
  /// Appends a new child element with that name and text.
  void AddChild(std::string_view name, std::string_view value);

  /// Sets an attribute. An attribute of that name keeps its place and takes the new value.
  void SetAttribute(std::string_view name, std::string_view value);
  void SetAttributeNumber(std::string_view name, int value);

  std::string GetAttribute(std::string_view name) const;
  /// The attribute's value read as `ToInt` reads it.
  int GetAttributeNumber(std::string_view name) const;
  bool HasAttribute(std::string_view name) const;

  /// A copy of the first child element of that name, as it is now; empty when there is none.
  boost::shared_ptr<XmlNode> GetChild(std::string_view name) const;
  /// The element's iterator; the element keeps ownership.
  XmlNodeIterator* GetIterator();

  std::string GetName() const;
  bool IsName(std::string_view name) const;

  /// The element as one line of UTF-8 text: no declaration, `<a/>` for an element with nothing in
  /// it. Always well-formed: `& < > "`, tab, newline and return are escaped, and what XML 1.0
  /// cannot carry is written as U+FFFD. An element without a name gives "".
  std::string OuterXml() const;

 private:
  friend struct Element;
  XmlNode() = default;
  ~XmlNode() = default;
};

/// A text that parsed. [any time]
class PLATFORM_API XmlDocument {
 public:
  /// Shares `root`, which must not be null.
  explicit XmlDocument(const boost::shared_ptr<XmlNode>& root);
  ~XmlDocument();
  XmlDocument(const XmlDocument&) = delete;
  XmlDocument& operator=(const XmlDocument&) = delete;

  /// The root element; never empty.
  boost::shared_ptr<XmlNode> GetRoot() const;

 private:
  boost::shared_ptr<XmlNode> root_;
};

/// A new element without a name. Throws `std::bad_alloc` only.
PLATFORM_API boost::shared_ptr<XmlNode> CreateXmlNode();
/// A new element with that name and text. Throws `std::bad_alloc` only.
PLATFORM_API boost::shared_ptr<XmlNode> CreateXmlNode(std::string_view name,
                                                      std::string_view value);

/// Parses a text. Empty when it does not parse: also when it has no root element or more than one,
/// anything but white space and comments after the root, a NUL byte, a reference to the
/// character 0 or beyond the last, or elements nested deeper than 64. Throws `std::bad_alloc` only.
/// The elements of the document share one copy of the text.
PLATFORM_API boost::shared_ptr<XmlDocument> CreateXmlDocument(std::string_view text);

/// The decimal integer, with or without a sign, that `text` begins with; 0 when there is none. A
/// number outside 32 bits gives its low 32 bits. `text` must not be null and ends with a NUL byte.
PLATFORM_API int ToInt(const char* text);

}  // namespace qx

/// Writes a number into an element, as a child element named `name`. Neither may be null. Throws
/// `std::bad_alloc` only.
class PLATFORM_API XmlHelper {
 public:
  static void toXml(int value, boost::shared_ptr<qx::XmlNode>& element, const char* name);
  static void toXml(unsigned int value, boost::shared_ptr<qx::XmlNode>& element, const char* name);
};
