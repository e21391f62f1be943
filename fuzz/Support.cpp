#include "fuzz/Support.h"

#include <libxml/parser.h>
#include <libxml/tree.h>

#include <algorithm>
#include <boost/lexical_cast.hpp>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <stdexcept>

#include "host/Transcript.h"
#include "platform/Dispatchers.h"
#include "platform/Logger.h"
#include "platform/XmlNode.h"

namespace fuzz {
namespace {

constexpr std::int64_t kFirstMoment = 1709283600;

struct FreeDocument {
  void operator()(xmlDoc* document) const { xmlFreeDoc(document); }
};
using Document = std::unique_ptr<xmlDoc, FreeDocument>;

Document ParseStrictly(const std::string& text) {
  constexpr int kOptions = XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING;
  return Document(
      xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, "UTF-8", kOptions));
}

/// Whether an agent carries out `action`: what it throws by design is no finding.
template <typename Action>
bool Succeeds(const Action& action) {
  try {
    action();
    return true;
  } catch (const std::out_of_range&) {        // a DATETIME that is too short
  } catch (const boost::bad_lexical_cast&) {  // an order with something else than numbers
  } catch (const qx::UnknownCommand&) {
  }
  return false;
}

}  // namespace

const host::PluginLibrary& GetPlugin() {
  static const host::PluginLibrary plugin = [] {
    setenv("TZ", "UTC", 1);
    tzset();
    qx::Logger::initialize();
    return host::PluginLibrary(PLUGIN_PATH);
  }();
  return plugin;
}

void Require(bool holds, const std::string& what) {
  if (holds) return;
  std::fprintf(stderr, "FINDING: %s\n", host::ToOneLine(what).c_str());
  std::abort();
}

void RequireWellFormed(const std::string& text) {
  Require(ParseStrictly(text) != nullptr, "not well-formed: " + text);
}

std::vector<unsigned int> IdsOf(const std::string& list) {
  const Document document = ParseStrictly(list);
  Require(document != nullptr, "not well-formed: " + list);
  std::vector<unsigned int> ids;
  for (const xmlNode* entry = xmlDocGetRootElement(document.get())->children; entry != nullptr;
       entry = entry->next) {
    xmlChar* const id = xmlGetNoNsProp(entry, BAD_CAST "id");
    Require(id != nullptr, "an entry without id: " + list);
    ids.push_back(static_cast<unsigned int>(qx::ToInt(reinterpret_cast<const char*>(id))));
    xmlFree(id);
  }
  return ids;
}

bool AreUnique(std::vector<unsigned int> ids) {
  std::sort(ids.begin(), ids.end());
  return std::adjacent_find(ids.begin(), ids.end()) == ids.end();
}

Agent::Agent() : clock_(kFirstMoment), host_(clock_, *this) { qx::SetLogLevel("DEBUG"); }

bool Agent::Start(const boost::shared_ptr<qx::XmlNode>& state) {
  const std::string left = host_.Destroy();
  Require(left.empty(), "left registered: " + left);
  host_.Create(GetPlugin());
  const bool isWhole = Succeeds([&] { host_.Initialize(state); });
  host_.LateInitialize();
  return isWhole;
}

bool Agent::StartFromText(const std::string& state) {
  const auto document = qx::CreateXmlDocument(state);
  Require(document != nullptr, "a persisted state does not parse: " + state);
  return Start(document->GetRoot());
}

bool Agent::Execute(const host::CmdMessage& message) {
  host::CmdReturn answer;
  const bool isDone = Succeeds([&] { host_.Execute(message, &answer); });
  // The element of an unknown service has no text.
  if (answer.GetValue() && !answer.GetValue()->empty()) RequireWellFormed(*answer.GetValue());
  return isDone;
}

bool Agent::Request(const host::CmdMessage& message) {
  boost::shared_ptr<qx::XmlNode> answer;
  const bool isDone = Succeeds([&] { answer = host_.Request(message); });
  if (answer && !answer->GetName().empty()) RequireWellFormed(answer->OuterXml());
  return isDone;
}

std::string Agent::Persist() {
  std::string text = host_.Persist()->OuterXml();
  RequireWellFormed(text);
  return text;
}

void Agent::OnHostCall(const host::HostCall& call) {
  if (const auto* const push = std::get_if<host::Push>(&call)) {
    RequireWellFormed(push->element.OuterXml());
  }
  const std::string line = host::FormatLine(call);
  Require(line.find('\n') == std::string::npos, "not one line: " + line);
}

}  // namespace fuzz

/// Loads the plug-in before libFuzzer counts what there is to cover.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
  fuzz::GetPlugin();
  return 0;
}
