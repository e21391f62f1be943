// Elements as they are built, read and parsed. What is handed out is judged by another parser.
#include <gtest/gtest.h>
#include <libxml/parser.h>

#include <functional>
#include <string>
#include <tuple>
#include <utility>

#include "platform/xml/XmlNode.h"

namespace {

using qx::CreateXmlNode;
using qx::XmlNode;

bool IsWellFormed(const std::string& xml) {
  constexpr int kOptions = XML_PARSE_NOERROR | XML_PARSE_NOWARNING | XML_PARSE_NONET;
  xmlDocPtr document =
      xmlReadMemory(xml.data(), static_cast<int>(xml.size()), "test", "UTF-8", kOptions);
  xmlFreeDoc(document);
  return document != nullptr;
}

boost::shared_ptr<XmlNode> Parse(const std::string& text) {
  const auto document = qx::CreateXmlDocument(text);
  return document ? document->GetRoot() : nullptr;
}

constexpr const char* kNothing = "(does not parse)";

std::string Parsed(const std::string& text) {
  const auto root = Parse(text);
  return root ? root->OuterXml() : kNothing;
}

std::string Nested(int levels, const std::string& middle = "") {
  std::string text;
  for (int i = 0; i < levels; ++i) text += "<a>";
  text += middle;
  for (int i = 0; i < levels; ++i) text += "</a>";
  return text;
}

TEST(XmlNode, IsWrittenAsItWasBuilt) {
  auto a = CreateXmlNode();
  const auto child = CreateXmlNode("c", "");
  const auto parsed = Parse("<p q='1'>x<s></s>y<!-- c --></p>");
  const struct {
    std::function<void()> change;
    const char* xml;
  } steps[] = {
      {[&] { a->SetAttribute("z", "1"); }, ""},  // without a name it is nothing
      {[&] { a->Initialize("a", ""); }, R"(<a z="1"/>)"},
      {[&] { a->SetAttributeNumber("b", -2147483647 - 1); }, R"(<a z="1" b="-2147483648"/>)"},
      {[&] { a->SetAttribute("z", "3"); }, R"(<a z="3" b="-2147483648"/>)"},
      {[&] { a->AddChild("d", "1"); }, R"(<a z="3" b="-2147483648"><d>1</d></a>)"},
      {[&] { a->Initialize("a", "t"); }, R"(<a z="3" b="-2147483648">t<d>1</d></a>)"},
      {[&] { a->AddChild(CreateXmlNode()); }, R"(<a z="3" b="-2147483648">t<d>1</d></a>)"},
      {[&] { a = CreateXmlNode("A", "&<>\"'\t\n\r"); },
       "<A>&amp;&lt;&gt;&quot;'&#9;&#10;&#13;</A>"},
      {[&] { a = CreateXmlNode("A", "\xE2\x82<"); }, "<A>\uFFFD&lt;</A>"},
      {[&] { a = CreateXmlNode("A", ""); }, "<A/>"},
      {[&] { a->SetAttribute("x", "&<>\"'\t\n\r"); },
       "<A x=\"&amp;&lt;&gt;&quot;'&#9;&#10;&#13;\"/>"},
      {[&] { a = CreateXmlNode("a", "t"); }, "<a>t</a>"},
      {[&] { a->AddChild(child); }, "<a>t<c/></a>"},
      {[&] { child->SetAttribute("late", "1"); }, "<a>t<c/></a>"},
      {[&] { a->AddChild(a); }, "<a>t<c/><a>t<c/></a></a>"},
      {[&] { (a = CreateXmlNode("a", ""))->AddChild(parsed); }, R"(<a><p q="1">x<s/>y</p></a>)"},
      {[&] { a = CreateXmlNode("a", ""); }, "<a/>"},
      {[&] { XmlHelper::toXml(-5, a, "id"); }, "<a><id>-5</id></a>"},
      {[&] { XmlHelper::toXml(4294967291U, a, "n"); }, "<a><id>-5</id><n>4294967291</n></a>"},
  };
  for (const auto& [change, xml] : steps) {
    change();
    EXPECT_EQ(a->OuterXml(), xml);
    EXPECT_TRUE(*xml == '\0' || IsWellFormed(xml)) << xml;
  }
}

TEST(XmlNode, ReadsWhatIsThereAndNothingElse) {
  for (const bool isParsed : {false, true}) {
    auto a = CreateXmlNode("a", "text");
    a->SetAttribute("n", "-12x");
    a->SetAttribute("empty", "");
    for (const auto& [name, text] : {std::pair("b", "first"), {"c", ""}, {"b", "second"}}) {
      a->AddChild(name, text);
    }
    if (isParsed) a = Parse(a->OuterXml());
    EXPECT_EQ(a->GetName(), "a");
    EXPECT_TRUE(a->IsName("a"));
    EXPECT_FALSE(a->IsName("A"));
    for (const auto& [name, text, number, isThere] :
         {std::tuple("n", "-12x", -12, true), {"empty", "", 0, true}, {"N", "", 0, false}}) {
      EXPECT_EQ(a->GetAttribute(name), text) << name;
      EXPECT_EQ(a->GetAttributeNumber(name), number) << name;
      EXPECT_EQ(a->HasAttribute(name), isThere) << name;
    }
    EXPECT_EQ(a->GetChild("b")->OuterXml(), "<b>first</b>");
    EXPECT_EQ(a->GetChild("d"), nullptr);
    auto* const children = a->GetIterator();
    for (int times = 0; times < 2; ++times) {
      EXPECT_EQ(children->GetFirst()->OuterXml(), "<b>first</b>");
      EXPECT_EQ(children->GetNext()->OuterXml(), "<c/>");
    }
    EXPECT_EQ(children->GetNext()->OuterXml(), "<b>second</b>");
    EXPECT_EQ(children->GetNext(), nullptr);
    EXPECT_EQ(children->GetNext(), nullptr);
  }
  const auto nameless = CreateXmlNode();
  nameless->SetAttribute("x", "1");
  EXPECT_EQ(nameless->GetName(), "");
  EXPECT_EQ(nameless->GetIterator()->GetFirst(), nullptr);
  EXPECT_EQ(nameless->GetAttribute("x"), "1");
}

TEST(XmlNode, ReadingAndChangingTakeTurns) {
  const auto root = Parse("<a x='1' y='2'>old<b><c/></b> tail</a>");
  EXPECT_EQ(root->GetAttribute("y"), "2");
  root->SetAttribute("x", "10");
  EXPECT_EQ(root->GetAttribute("x"), "10");
  root->SetAttribute("z", "3");
  root->SetAttribute("y", "<20>");
  root->Initialize("A", "new");
  EXPECT_EQ(root->GetName(), "A");
  const auto child = root->GetChild("b");
  root->AddChild("d", " ");
  EXPECT_EQ(root->OuterXml(),
            "<A x=\"10\" y=\"&lt;20&gt;\" z=\"3\">new<b><c/></b> tail<d> </d></A>");
  // An element that was read stays as it was.
  child->SetAttribute("e", "1");
  EXPECT_EQ(child->OuterXml(), "<b e=\"1\"><c/></b>");
  EXPECT_EQ(root->GetChild("b")->OuterXml(), "<b><c/></b>");
  // Blanks are text, too.
  EXPECT_EQ(root->GetChild("d")->OuterXml(), "<d> </d>");
}

TEST(XmlNode, HandsOutAnyBytesWellFormed) {
  // All texts of one and two bytes, as attributes and as texts.
  const auto root = CreateXmlNode("a", "");
  for (int first = 0; first < 256; ++first) {
    for (int second = 0; second < 256; ++second) {
      const std::string text = {static_cast<char>(first), static_cast<char>(second)};
      const auto child = CreateXmlNode("b", text);
      child->SetAttribute("c", text.substr(0, second == 0 ? 1 : 2));
      root->AddChild(child);
    }
  }
  EXPECT_TRUE(IsWellFormed(root->OuterXml()));
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
               {"<a>&#x10FFFF;&#;&#x;&#0</a>", "<a>\U0010FFFF&amp;#;&amp;#x;&amp;#0</a>"},
               {"<a><![CDATA[<b>&]]></a>", "<a>&lt;b&gt;&amp;</a>"},
               {"<a><![CDATA[&#0;]]><!-- &#0; --></a>", "<a>&amp;#0;</a>"},
               {"<a>x<b/>y<?pi?><!-- c -->z</a>", "<a>x<b/>yz</a>"},
               {"<a>\r\n x\r\n</a>", "<a>&#10; x&#10;</a>"},
               {"<a> <b/> </a>", "<a><b/></a>"},
               {"<a x='1' y='2' x='3'/>", "<a x=\"1\" y=\"2\"/>"}};
  for (const auto& [text, parsed] : cases) EXPECT_EQ(Parsed(text), parsed) << text;
  const char* const bad[] = {
      // No root, or more than one.
      "", "  ", "text", "<!-- x -->", "<?xml version='1.0'?>", "<a/><b/>", "<a/><!-- x --><b/>",
      // Something after it.
      "<a/>x", "<a/> &#32; x", "<a/><?pi?>", "<a/><?xml version='1.0'?>", "<a/><!DOCTYPE a>",
      "<a/><![CDATA[]]>", "<a/><![CDATA[x]]>", "<a/></a>", "<a/><",
      // Not well-formed.
      "<a", "<a>", "<a></b>", "<a><b></a></b>", "<a x/>", "<a x=1/>", "<a x='1/>", "<a><!-- </a>",
      "<a><![CDATA[</a>",
      // A reference to no character.
      "<a>&#0;</a>", "<a x='&#x00;'/>", "<a>&#1114112;</a>", "<a>&#4294967361;</a>",
      "<a x='<!--'>&#0;<!-- --></a>"};
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
  for (const std::string& text :
       {Nested(64, "x"), "<r>" + Nested(63, "x") + Nested(63, "y") + "</r>"}) {
    EXPECT_EQ(Parsed(text), text);
  }
  EXPECT_EQ(Parsed(Nested(65)), kNothing);
  EXPECT_EQ(Parsed("<r>" + Nested(63) + Nested(64) + "</r>"), kNothing);
  // It may be built deeper.
  auto element = CreateXmlNode("b", "");
  for (int level = 0; level < 200; ++level) {
    const auto outer = CreateXmlNode("a", "");
    outer->AddChild(element);
    element = outer;
  }
  EXPECT_EQ(element->OuterXml(), Nested(200, "<b/>"));
  EXPECT_EQ(element->GetChild("a")->OuterXml(), Nested(199, "<b/>"));
}

}  // namespace
