// Elements as they are built and read. What is handed out is judged by another parser.
#include <gtest/gtest.h>
#include <libxml/parser.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "platform/XmlNode.h"

namespace {

using qx::CreateXmlNode;
using qx::XmlNode;

constexpr int kLeast = -2147483647 - 1;

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
  auto a = CreateXmlNode();
  const auto child = CreateXmlNode("c", "");
  const auto parsed = Parse("<p q='1'>x<s></s>y<!-- c --></p>");
  const struct {
    std::function<void()> change;
    const char* xml;
  } steps[] = {
      {[&] { a->SetAttribute("z", "1"); }, ""},  // without a name it is nothing
      {[&] { a->Initialize("a", ""); }, R"(<a z="1"/>)"},
      {[&] { a->SetAttributeNumber("b", kLeast); }, R"(<a z="1" b="-2147483648"/>)"},
      {[&] { a->SetAttribute("z", "3"); }, R"(<a z="3" b="-2147483648"/>)"},
      {[&] { a->AddChild("d", "1"); }, R"(<a z="3" b="-2147483648"><d>1</d></a>)"},
      {[&] { a->Initialize("a", "t"); }, R"(<a z="3" b="-2147483648">t<d>1</d></a>)"},
      {[&] { a->AddChild(CreateXmlNode()); }, R"(<a z="3" b="-2147483648">t<d>1</d></a>)"},
      {[&] { a = CreateXmlNode("A", "&<>\"'\t\n\r"); },
       "<A>&amp;&lt;&gt;&quot;'&#9;&#10;&#13;</A>"},
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
  } cases[] = {{"\x7F\xC2\x80\xED\x9F\xBF\xEE\x80\x80\xF0\x90\x80\x80\xF4\x8F\xBF\xBF",
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
               {"\xF5\xFF\xFE", "\uFFFD\uFFFD\uFFFD"}};
  for (const auto& [bytes, written] : cases) {
    EXPECT_EQ(CreateXmlNode("a", bytes)->OuterXml(), "<a>" + std::string(written) + "</a>");
  }
}

TEST(ToInt, ReadsALeadingNumber) {
  const std::pair<int, std::vector<const char*>> cases[] = {
      {0, {"", " 7", "\t7", "x7", "-", "+", "--7", "+-7", "- 7", "-0", "0x10", "4294967296"}},
      {7, {"7", "+7", "007", "7 days", "7.9", "7-"}},
      {-7, {"-7", "-007", "4294967289"}},
      {1, {"18446744073709551617", "340282366920938463463374607431768211457"}},
      {-1, {"4294967295", "9223372036854775807", "-18446744073709551617"}},
      {2147483647, {"2147483647", "-2147483649"}},
      {kLeast, {"2147483648", "-2147483648", "6442450944"}}};
  for (const auto& [number, texts] : cases) {
    for (const char* const text : texts) EXPECT_EQ(qx::ToInt(text), number) << text;
  }
}

}  // namespace
