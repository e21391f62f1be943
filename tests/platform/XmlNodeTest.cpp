// Elements as they are built and read. What is handed out is judged by another parser.
#include <gtest/gtest.h>
#include <libxml/parser.h>

#include <functional>
#include <string>

#include "platform/XmlNode.h"

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

TEST(XmlNode, IsWrittenAsItWasBuilt) {
  const struct {
    const char* xml;
    std::function<void(XmlNode&)> build;
  } cases[] = {
      {"<a/>", [](XmlNode&) {}},
      {"<b>t</b>", [](XmlNode& a) { a.Initialize("b", "t"); }},
      {"<a z=\"1\" b=\"2\"/>",
       [](XmlNode& a) {
         a.SetAttribute("z", "1");
         a.SetAttribute("b", "2");
       }},
      {"<a z=\"3\" b=\"2\"/>",
       [](XmlNode& a) {
         a.SetAttribute("z", "1");
         a.SetAttribute("b", "2");
         a.SetAttribute("z", "3");
       }},
      {"<a n=\"-2147483648\" m=\"2147483647\"/>",
       [](XmlNode& a) {
         a.SetAttributeNumber("n", -2147483647 - 1);
         a.SetAttributeNumber("m", 2147483647);
       }},
      // Attributes and children outlive a change of name and text.
      {"<c x=\"1\">new<d/></c>",
       [](XmlNode& a) {
         a.Initialize("b", "old");
         a.SetAttribute("x", "1");
         a.AddChild("d", "");
         a.Initialize("c", "new");
       }},
      {"<a><b>1</b><b/></a>",
       [](XmlNode& a) {
         a.AddChild("b", "1");
         a.AddChild("b", "");
       }},
      {"<a><b/></a>",
       [](XmlNode& a) {
         const auto child = CreateXmlNode("b", "");
         a.AddChild(child);
         child->SetAttribute("late", "1");
         a.AddChild(CreateXmlNode());  // without a name: nothing
       }},
      {"<a x=\"1\"><a x=\"1\"/></a>",
       [](XmlNode& a) {
         a.SetAttribute("x", "1");
         a.AddChild(boost::shared_ptr<XmlNode>(&a, [](XmlNode*) {}));
       }},
      {"<a><p q=\"1\">x<s/>y</p></a>",
       [](XmlNode& a) { a.AddChild(Parse("<p q='1'>x<s></s>y<!-- c --></p>")); }},
      {"<a><id>-5</id><id>4294967291</id></a>",
       [](XmlNode& a) {
         boost::shared_ptr<XmlNode> element(&a, [](XmlNode*) {});
         XmlHelper::toXml(-5, element, "id");
         XmlHelper::toXml(4294967291U, element, "id");
       }},
      {"<a x=\"&amp;&lt;&gt;&quot;'&#9;&#10;&#13;\">&amp;&lt;&gt;&quot;'&#9;&#10;&#13;</a>",
       [](XmlNode& a) {
         a.Initialize("a", "&<>\"'\t\n\r");
         a.SetAttribute("x", "&<>\"'\t\n\r");
       }},
  };
  for (const auto& [xml, build] : cases) {
    const auto element = CreateXmlNode("a", "");
    build(*element);
    EXPECT_EQ(element->OuterXml(), xml);
    EXPECT_TRUE(IsWellFormed(xml)) << xml;
  }
  EXPECT_EQ(CreateXmlNode()->OuterXml(), "");
}

TEST(XmlNode, ReadsWhatIsThereAndNothingElse) {
  for (const bool isParsed : {false, true}) {
    auto a = CreateXmlNode("a", "text");
    a->SetAttribute("n", "-12x");
    a->SetAttribute("empty", "");
    a->AddChild("b", "first");
    a->AddChild("c", "");
    a->AddChild("b", "second");
    if (isParsed) a = Parse(a->OuterXml());
    EXPECT_EQ(a->GetName(), "a");
    EXPECT_TRUE(a->IsName("a"));
    EXPECT_FALSE(a->IsName("A"));
    EXPECT_EQ(a->GetAttribute("n"), "-12x");
    EXPECT_EQ(a->GetAttributeNumber("n"), -12);
    EXPECT_EQ(a->GetAttributeNumber("empty"), 0);
    EXPECT_TRUE(a->HasAttribute("empty"));
    EXPECT_FALSE(a->HasAttribute("N"));
    EXPECT_EQ(a->GetAttribute("N"), "");
    EXPECT_EQ(a->GetAttributeNumber("N"), 0);
    EXPECT_EQ(a->GetChild("b")->OuterXml(), "<b>first</b>");
    EXPECT_EQ(a->GetChild("d"), nullptr);

    auto* const children = a->GetIterator();
    EXPECT_EQ(children->GetFirst()->OuterXml(), "<b>first</b>");
    EXPECT_EQ(children->GetNext()->OuterXml(), "<c/>");
    EXPECT_EQ(children->GetFirst()->OuterXml(), "<b>first</b>");
    children->GetNext();
    EXPECT_EQ(children->GetNext()->OuterXml(), "<b>second</b>");
    EXPECT_EQ(children->GetNext(), nullptr);
    EXPECT_EQ(children->GetNext(), nullptr);
  }
  EXPECT_EQ(CreateXmlNode()->GetName(), "");
  EXPECT_EQ(CreateXmlNode()->GetIterator()->GetFirst(), nullptr);
  const auto nameless = CreateXmlNode();
  nameless->SetAttribute("x", "1");
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
  const struct {
    const char* bytes;
    const char* written;
  } cases[] = {
      {"\x7F\xC2\x80\xED\x9F\xBF\xEE\x80\x80\xF0\x90\x80\x80\xF4\x8F\xBF\xBF",
       "\x7F\xC2\x80\xED\x9F\xBF\xEE\x80\x80\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"},
      {"\xEF\xBF\xBE\xEF\xBF\xBF\xEF\xBF\xBD", "\uFFFD\uFFFD\uFFFD"},
      {"\x01\x0B\x1F", "\uFFFD\uFFFD\uFFFD"},
      {"\xC0\x80", "\uFFFD\uFFFD"},
      {"\xE2\x82", "\uFFFD"},
      {"\xE2\x82<", "\uFFFD&lt;"},
      {"\xF0\x9F\x9B", "\uFFFD"},
      {"\xF0\x9F\x9Bx", "\uFFFDx"},
      {"\xED\xA0\x80", "\uFFFD\uFFFD\uFFFD"},
      {"\xF4\x90\x80\x80", "\uFFFD\uFFFD\uFFFD\uFFFD"},
      {"\xF5\xFF\xFE", "\uFFFD\uFFFD\uFFFD"},
  };
  for (const auto& [bytes, written] : cases) {
    EXPECT_EQ(CreateXmlNode("a", bytes)->OuterXml(), "<a>" + std::string(written) + "</a>");
  }
}

TEST(ToInt, ReadsALeadingNumber) {
  const struct {
    const char* text;
    int number;
  } cases[] = {
      {"", 0},
      {"7", 7},
      {"+7", 7},
      {"-7", -7},
      {"007", 7},
      {"-0", 0},
      {"7 days", 7},
      {"7.9", 7},
      {"0x10", 0},
      {" 7", 0},
      {"\t7", 0},
      {"x7", 0},
      {"-", 0},
      {"+", 0},
      {"--7", 0},
      {"+-7", 0},
      {"- 7", 0},
      {"2147483647", 2147483647},
      {"2147483648", -2147483647 - 1},
      {"-2147483648", -2147483647 - 1},
      {"-2147483649", 2147483647},
      {"4294967295", -1},
      {"4294967296", 0},
      {"9223372036854775807", -1},
      {"18446744073709551617", 1},
      {"-18446744073709551617", -1},
      {"340282366920938463463374607431768211457", 1},
  };
  for (const auto& [text, number] : cases) EXPECT_EQ(qx::ToInt(text), number) << text;
}

}  // namespace
