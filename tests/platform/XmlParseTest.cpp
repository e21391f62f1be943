// Which texts parse, and to what.
#include <gtest/gtest.h>

#include <string>

#include "platform/XmlNode.h"

namespace {

constexpr const char* kNothing = "(does not parse)";

std::string Parsed(const std::string& text) {
  const auto document = qx::CreateXmlDocument(text);
  return document ? document->GetRoot()->OuterXml() : kNothing;
}

std::string Nested(int levels, const std::string& middle = "") {
  std::string text;
  for (int i = 0; i < levels; ++i) text += "<a>";
  text += middle;
  for (int i = 0; i < levels; ++i) text += "</a>";
  return text;
}

TEST(XmlDocument, IsOneElementAndNothingButCommentsAfterIt) {
  const struct {
    const char* text;
    const char* parsed;
  } cases[] = {{"<a/>", "<a/>"},
               {"<a></a>", "<a/>"},
               {" \t\r\n<a/> \t\r\n", "<a/>"},
               {"<a ></a >", "<a/>"},
               {"<!-- x --><a/><!-- y --> <!-- z -->", "<a/>"},
               {"<?xml version='1.0' encoding='ISO-8859-1'?><a>\xC3\xA9</a>", "<a>\u00E9</a>"},
               {"<!DOCTYPE a><a/>", "<a/>"},
               {"<!DOCTYPE a [<!ENTITY e 'x'>]><a/>", "<a/>"},
               {"<?pi?><a/>", "<a/>"},
               {"\xEF\xBB\xBF<a/>", "<a/>"},
               {"<a x='1' y=\"'\">t</a>", "<a x=\"1\" y=\"'\">t</a>"},
               {"<a x='&lt;&#65;&#x42;&quot;'/>", "<a x=\"&lt;AB&quot;\"/>"},
               {"<a><![CDATA[<b>&]]></a>", "<a>&lt;b&gt;&amp;</a>"},
               {"<a>x<b/>y<?pi?><!-- c -->z</a>", "<a>x<b/>yz</a>"},
               {"<a>\r\n x\r\n</a>", "<a>&#10; x&#10;</a>"},
               {"<a> <b/> </a>", "<a><b/></a>"}};
  for (const auto& [text, parsed] : cases) EXPECT_EQ(Parsed(text), parsed) << text;
  const char* const bad[] = {
      // No root, or more than one.
      "", "  ", "text", "<!-- x -->", "<?xml version='1.0'?>", "<a/><b/>", "<a/><!-- x --><b/>",
      // Something after it.
      "<a/>x", "<a/> &#32; x", "<a/><?pi?>", "<a/><?xml version='1.0'?>", "<a/><!DOCTYPE a>",
      "<a/><![CDATA[]]>", "<a/><![CDATA[x]]>", "<a/></a>", "<a/><",
      // Not well-formed.
      "<a", "<a>", "<a></b>", "<a><b></a></b>", "<a x/>", "<a x=1/>", "<a x='1/>", "<a><!-- </a>",
      "<a><![CDATA[</a>"};
  for (const char* const text : bad) EXPECT_EQ(Parsed(text), kNothing) << text;
}

TEST(XmlDocument, NeedsAllOfIt) {
  const std::string text =
      "<?xml version='1.0'?><!-- x --><!DOCTYPE a><a b='c&amp;' d=\"e\">f<g/><![CDATA[h]]></a>";
  EXPECT_EQ(Parsed(text), "<a b=\"c&amp;\" d=\"e\">f<g/>h</a>");
  for (std::size_t length = 0; length < text.size(); ++length) {
    EXPECT_EQ(Parsed(text.substr(0, length)), kNothing) << text.substr(0, length);
  }
  // No end in the middle: a NUL is no character of XML.
  for (std::size_t at = 0; at <= text.size(); ++at) {
    EXPECT_EQ(Parsed(std::string(text).insert(at, 1, '\0')), kNothing) << at;
  }
}

TEST(XmlDocument, IsNotNestedTooDeep) {
  EXPECT_EQ(Parsed(Nested(64, "x")), Nested(64, "x"));
  EXPECT_EQ(Parsed(Nested(65)), kNothing);
  EXPECT_EQ(Parsed("<r>" + Nested(63, "x") + Nested(63, "y") + "</r>"),
            "<r>" + Nested(63, "x") + Nested(63, "y") + "</r>");
  EXPECT_EQ(Parsed("<r>" + Nested(63) + Nested(64) + "</r>"), kNothing);
  const std::string deep = Nested(1000000);
  EXPECT_EQ(Parsed(deep), kNothing);
  EXPECT_EQ(Parsed(deep.substr(0, deep.size() / 2)), kNothing);
  EXPECT_EQ(Parsed(deep + 'x'), kNothing);
}

TEST(XmlNode, MayBeBuiltDeeperThanItMayBeParsed) {
  auto element = qx::CreateXmlNode("a", "");
  std::string expected = "<a/>";
  for (int level = 1; level < 200; ++level) {
    const auto outer = qx::CreateXmlNode("a", "");
    outer->AddChild(element);
    element = outer;
    expected.insert(0, "<a>").append("</a>");
  }
  EXPECT_EQ(element->OuterXml(), expected);
  EXPECT_EQ("<a>" + element->GetChild("a")->OuterXml() + "</a>", expected);
}

}  // namespace
