#include "bench/Peers.h"

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <tinyxml2.h>

#include <charconv>
#include <iterator>
#include <pugixml.hpp>
#include <rapidxml/rapidxml.hpp>
#include <rapidxml/rapidxml_print.hpp>

namespace bench {
namespace {

struct StringWriter : pugi::xml_writer {
  void write(const void* data, std::size_t size) override {
    text.append(static_cast<const char*>(data), size);
  }
  std::string text;
};

std::string WritePugixml(const std::vector<Record>& records) {
  pugi::xml_document document;
  pugi::xml_node root = document.append_child("guest_services");
  for (const Record& record : records) {
    pugi::xml_node service = root.append_child("guest_service");
    service.append_attribute("id") = record.id;
    service.append_attribute("name") = record.name.c_str();
    service.append_attribute("description") = record.description.c_str();
    service.append_attribute("icon") = record.icon;
    service.append_attribute("delay") = record.delay;
    service.append_attribute("operarequest") = record.operarequest.c_str();
    service.append_attribute("state") = record.state;
    service.append_child("request_time").append_attribute("DATETIME") = record.requestTime.c_str();
  }
  StringWriter writer;
  document.print(writer, "", pugi::format_raw | pugi::format_no_declaration);
  return std::move(writer.text);
}

std::size_t ParsePugixml(const std::string& text) {
  pugi::xml_document document;
  document.load_buffer(text.data(), text.size(), pugi::parse_default, pugi::encoding_utf8);
  const auto children = document.document_element().children();
  return static_cast<std::size_t>(std::distance(children.begin(), children.end()));
}

std::string WriteRapidXml(const std::vector<Record>& records) {
  rapidxml::xml_document<> document;
  rapidxml::xml_node<>* root = document.allocate_node(rapidxml::node_element, "guest_services");
  document.append_node(root);
  for (const Record& record : records) {
    rapidxml::xml_node<>* service = document.allocate_node(rapidxml::node_element, "guest_service");
    const auto text = [&](const char* name, const std::string& value) {
      service->append_attribute(document.allocate_attribute(name, value.c_str(), 0, value.size()));
    };
    const auto number = [&](const char* name, int value) {
      char digits[16];
      char* const end = std::to_chars(digits, digits + sizeof digits, value).ptr;
      const auto size = static_cast<std::size_t>(end - digits);
      service->append_attribute(
          document.allocate_attribute(name, document.allocate_string(digits, size), 0, size));
    };
    number("id", static_cast<int>(record.id));
    text("name", record.name);
    text("description", record.description);
    number("icon", record.icon);
    number("delay", record.delay);
    text("operarequest", record.operarequest);
    number("state", record.state);
    root->append_node(service);
    rapidxml::xml_node<>* time = document.allocate_node(rapidxml::node_element, "request_time");
    service->append_node(time);
    service = time;
    text("DATETIME", record.requestTime);
  }
  std::string out;
  rapidxml::print(std::back_inserter(out), document, rapidxml::print_no_indenting);
  return out;
}

std::size_t ParseRapidXml(const std::string& text) {
  std::string copy = text;
  rapidxml::xml_document<> document;
  document.parse<rapidxml::parse_default>(copy.data());
  std::size_t count = 0;
  const rapidxml::xml_node<>* node = document.first_node()->first_node();
  for (; node != nullptr; node = node->next_sibling()) ++count;
  return count;
}

std::string WriteTinyXml2(const std::vector<Record>& records) {
  tinyxml2::XMLDocument document;
  tinyxml2::XMLElement* root = document.NewElement("guest_services");
  document.InsertEndChild(root);
  for (const Record& record : records) {
    tinyxml2::XMLElement* service = root->InsertNewChildElement("guest_service");
    service->SetAttribute("id", record.id);
    service->SetAttribute("name", record.name.c_str());
    service->SetAttribute("description", record.description.c_str());
    service->SetAttribute("icon", record.icon);
    service->SetAttribute("delay", record.delay);
    service->SetAttribute("operarequest", record.operarequest.c_str());
    service->SetAttribute("state", record.state);
    service->InsertNewChildElement("request_time")
        ->SetAttribute("DATETIME", record.requestTime.c_str());
  }
  tinyxml2::XMLPrinter printer(nullptr, true);
  document.Print(&printer);
  return std::string(printer.CStr(), static_cast<std::size_t>(printer.CStrSize()) - 1);
}

std::size_t ParseTinyXml2(const std::string& text) {
  tinyxml2::XMLDocument document;
  document.Parse(text.data(), text.size());
  std::size_t count = 0;
  const tinyxml2::XMLNode* node = document.RootElement()->FirstChild();
  for (; node != nullptr; node = node->NextSibling()) ++count;
  return count;
}

const xmlChar* Xml(const char* text) { return reinterpret_cast<const xmlChar*>(text); }

std::string WriteLibxml2(const std::vector<Record>& records) {
  xmlDoc* const document = xmlNewDoc(Xml("1.0"));
  xmlNode* const root = xmlNewNode(nullptr, Xml("guest_services"));
  xmlDocSetRootElement(document, root);
  for (const Record& record : records) {
    xmlNode* const service = xmlNewChild(root, nullptr, Xml("guest_service"), nullptr);
    const auto number = [&](const char* name, int value) {
      char digits[16];
      *std::to_chars(digits, digits + sizeof digits, value).ptr = '\0';
      xmlNewProp(service, Xml(name), Xml(digits));
    };
    number("id", static_cast<int>(record.id));
    xmlNewProp(service, Xml("name"), Xml(record.name.c_str()));
    xmlNewProp(service, Xml("description"), Xml(record.description.c_str()));
    number("icon", record.icon);
    number("delay", record.delay);
    xmlNewProp(service, Xml("operarequest"), Xml(record.operarequest.c_str()));
    number("state", record.state);
    xmlNewProp(xmlNewChild(service, nullptr, Xml("request_time"), nullptr), Xml("DATETIME"),
               Xml(record.requestTime.c_str()));
  }
  xmlBuffer* const buffer = xmlBufferCreate();
  xmlBufferSetAllocationScheme(buffer, XML_BUFFER_ALLOC_DOUBLEIT);
  xmlNodeDump(buffer, document, root, 0, 0);
  std::string out(reinterpret_cast<const char*>(xmlBufferContent(buffer)),
                  static_cast<std::size_t>(xmlBufferLength(buffer)));
  xmlBufferFree(buffer);
  xmlFreeDoc(document);
  return out;
}

std::size_t ParseLibxml2(const std::string& text) {
  xmlDoc* const document =
      xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, "UTF-8", XML_PARSE_HUGE);
  const auto count = static_cast<std::size_t>(xmlChildElementCount(xmlDocGetRootElement(document)));
  xmlFreeDoc(document);
  return count;
}

}  // namespace

const std::vector<Peer> kPeers = {
    {"pugixml", WritePugixml, ParsePugixml},
    {"rapidxml", WriteRapidXml, ParseRapidXml},
    {"tinyxml2", WriteTinyXml2, ParseTinyXml2},
    {"libxml2", WriteLibxml2, ParseLibxml2},
};

}  // namespace bench
