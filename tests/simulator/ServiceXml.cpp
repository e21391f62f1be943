// Built with 64-bit time functions on every machine.
#include "tests/simulator/ServiceXml.h"

#include <libxml/parser.h>
#include <libxml/tree.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <memory>
#include <stdexcept>

namespace simulator {
namespace {

struct FreeDocument {
  void operator()(xmlDoc* document) const { xmlFreeDoc(document); }
};
using Document = std::unique_ptr<xmlDoc, FreeDocument>;

/// A parser that the agent does not use, and a strict one.
Document Parse(const std::string& text) {
  constexpr int kOptions = XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING;
  return Document(
      xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, "UTF-8", kOptions));
}

std::string NameOf(const xmlNode* element) { return reinterpret_cast<const char*>(element->name); }

std::optional<std::string> Attribute(const xmlNode* element, const char* name) {
  xmlChar* const value = xmlGetNoNsProp(element, BAD_CAST name);
  if (value == nullptr) return {};
  std::string text = reinterpret_cast<const char*>(value);
  xmlFree(value);
  return text;
}

std::string TextOf(const xmlNode* element, const char* name) {
  return Attribute(element, name).value_or("");
}

int NumberOf(const xmlNode* element, const char* name) { return ReadNumber(TextOf(element, name)); }

const xmlNode* FirstChild(const xmlNode* element, const std::string& name) {
  const xmlNode* child = element->children;
  while (child != nullptr && (child->type != XML_ELEMENT_NODE || NameOf(child) != name)) {
    child = child->next;
  }
  return child;
}

/// Both forms: one text, MM/DD/YYYY HH:MM:SS, of which the separators do not matter, or six
/// numbers.
Date ReadDate(const xmlNode* element) {
  const auto text = Attribute(element, "DATETIME");
  if (!text) {
    return {NumberOf(element, "YEAR"), NumberOf(element, "MONTH"), NumberOf(element, "DAY"),
            NumberOf(element, "HOUR"), NumberOf(element, "MIN"),   NumberOf(element, "SEC")};
  }
  if (text->size() < 17) throw std::runtime_error("basic_string::substr");
  const auto number = [&](std::size_t at, std::size_t length) {
    return ReadNumber(text->substr(at, length));
  };
  return {number(6, 4), number(0, 2), number(3, 2), number(11, 2), number(14, 2), number(17, 2)};
}

Service ReadElement(const xmlNode* element, bool isShortcut) {
  Service service;
  service.isShortcut = isShortcut;
  service.id = static_cast<std::uint32_t>(NumberOf(element, "id"));
  if (isShortcut) {
    service.target = static_cast<std::uint32_t>(NumberOf(element, "shortcut_id"));
    return service;
  }
  service.name = TextOf(element, "name");
  service.description = TextOf(element, "description");
  service.requestCode = TextOf(element, "operarequest");
  service.icon = NumberOf(element, "icon");
  service.delay = NumberOf(element, "delay");
  service.state = NumberOf(element, "state");
  const xmlNode* const date = FirstChild(element, "request_time");
  if (date != nullptr) service.requestTime = ReadDate(date);
  return service;
}

}  // namespace

std::int64_t ToSeconds(const Date& date) {
  std::tm fields{};
  fields.tm_year = date[0] - 1900;
  fields.tm_mon = date[1] - 1;
  fields.tm_mday = date[2];
  fields.tm_hour = date[3];
  fields.tm_min = date[4];
  fields.tm_sec = date[5];
  return timegm(&fields);
}

Date ToDate(std::int64_t seconds) {
  const std::time_t time = seconds;
  std::tm fields{};
  gmtime_r(&time, &fields);
  return {fields.tm_year + 1900, fields.tm_mon + 1, fields.tm_mday,
          fields.tm_hour,        fields.tm_min,     fields.tm_sec};
}

std::string ToXml(const Date& date, bool asText) {
  const auto [year, month, day, hour, minute, second] = date;
  char text[160];
  if (asText) {
    std::snprintf(text, sizeof text, R"(DATETIME="%02d/%02d/%04d %02d:%02d:%02d")", month, day,
                  year, hour, minute, second);
  } else {
    std::snprintf(text, sizeof text, R"(YEAR="%d" MONTH="%d" DAY="%d" HOUR="%d" MIN="%d" SEC="%d")",
                  year, month, day, hour, minute, second);
  }
  return text;
}

std::string ToXml(const Service& service, bool dateAsText) {
  const auto attribute = [](const char* name, const std::string& value) {
    return std::string(" ") + name + "=\"" + value + '"';
  };
  const auto number = [&](const char* name, int value) {
    return attribute(name, std::to_string(value));
  };
  const std::string id = number("id", static_cast<int>(service.id));
  if (service.isShortcut) {
    return "<shortcut" + id + number("shortcut_id", static_cast<int>(service.target)) + "/>";
  }
  return "<guest_service" + id + attribute("name", Escape(service.name)) +
         attribute("description", Escape(service.description)) + number("icon", service.icon) +
         number("delay", service.delay) + attribute("operarequest", Escape(service.requestCode)) +
         number("state", service.state) + "><request_time " +
         ToXml(service.requestTime, dateAsText) + "/></guest_service>";
}

std::optional<Service> ReadService(const std::string& text, bool isShortcut) {
  const Document document = Parse(text);
  if (!document) return {};
  return ReadElement(xmlDocGetRootElement(document.get()), isShortcut);
}

std::optional<State> ReadState(const std::string& text) {
  const Document document = Parse(text);
  if (!document) return {};
  const xmlNode* const root = xmlDocGetRootElement(document.get());
  State state;
  state.rootName = NameOf(root);
  try {
    for (const xmlNode* child = root->children; child != nullptr; child = child->next) {
      if (child->type != XML_ELEMENT_NODE) continue;
      state.services.push_back(ReadElement(child, NameOf(child) != "guest_service"));
    }
  } catch (const std::runtime_error& error) {
    state.error = error.what();
  }
  return state;
}

int ReadNumber(const std::string& text) {
  const bool hasSign = !text.empty() && (text[0] == '-' || text[0] == '+');
  std::uint32_t number = 0;
  for (std::size_t i = hasSign ? 1 : 0; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i) {
    number = number * 10 + static_cast<std::uint32_t>(text[i] - '0');
  }
  return static_cast<int>(hasSign && text[0] == '-' ? 0 - number : number);
}

const std::vector<OddText>& GetOddTexts() {
  static const std::vector<OddText> texts = {
      {"&", "&amp;"},
      {"<", "&lt;"},
      {">", "&gt;"},
      {"\"", "&quot;"},
      {"\t", "&#9;"},
      {"\n", "&#10;"},
      {"\r", "&#13;"},
      {"\x01", "\uFFFD"},
      {"\x1F", "\uFFFD"},
      {"\x7F", "\x7F"},                        // odd to a terminal alone
      {"\xFF", "\uFFFD"},                      // never in UTF-8
      {"\xE2\x82", "\uFFFD"},                  // cut short
      {"\xC0\xAF", "\uFFFD\uFFFD"},            // longer than needed
      {"\xED\xA0\x80", "\uFFFD\uFFFD\uFFFD"},  // half of a pair
      {"\xEF\xBF\xBE", "\uFFFD"},              // a character that XML forbids
  };
  return texts;
}

std::string Escape(const std::string& text) {
  const auto& odd = GetOddTexts();
  std::string xml;
  for (std::size_t at = 0; at < text.size();) {
    const auto found = std::find_if(odd.begin(), odd.end(), [&](const OddText& candidate) {
      return text.compare(at, std::strlen(candidate.text), candidate.text) == 0;
    });
    xml += found != odd.end() ? found->asXml : text.substr(at, 1);
    at += found != odd.end() ? std::strlen(found->text) : 1;
  }
  return xml;
}

}  // namespace simulator
