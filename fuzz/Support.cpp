#include "fuzz/Support.h"

#include <libxml/parser.h>

#include <algorithm>
#include <boost/lexical_cast.hpp>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <stdexcept>

#include "host/session/Transcript.h"
#include "platform/Dispatchers.h"
#include "platform/Logger.h"
#include "platform/xml/XmlNode.h"

namespace fuzz {
namespace {

constexpr std::int64_t kFirstMoment = 1709283600;

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
  constexpr int kOptions = XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING;
  xmlDoc* const document =
      xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, "UTF-8", kOptions);
  Require(document != nullptr, "not well-formed: " + text);
  xmlFreeDoc(document);
}

void RequireSound(const std::string& line) {
  Require(line.find('\n') == std::string::npos, "not one line: " + line);
  for (const std::string mark : {"push ", "answer "}) {
    if (line.rfind(mark, 0) == 0) RequireWellFormed(line.substr(mark.size()));
  }
}

std::vector<unsigned int> IdsOf(const std::string& list) {
  const auto document = qx::CreateXmlDocument(list);
  Require(document != nullptr, "cannot be read: " + list);
  std::vector<unsigned int> ids;
  const auto root = document->GetRoot();
  auto* const entries = root->GetIterator();
  for (auto entry = entries->GetFirst(); entry; entry = entries->GetNext()) {
    Require(entry->HasAttribute("id"), "an entry without id: " + list);
    ids.push_back(static_cast<unsigned int>(entry->GetAttributeNumber("id")));
  }
  return ids;
}

bool AreUnique(std::vector<unsigned int> ids) {
  std::sort(ids.begin(), ids.end());
  return std::adjacent_find(ids.begin(), ids.end()) == ids.end();
}

Agent::Agent() : clock_(kFirstMoment), host_(clock_, *this) { qx::SetLogLevel("DEBUG"); }

void Agent::Start(const std::string& state) {
  const std::string left = host_.Destroy();
  Require(left.empty(), "left registered: " + left);
  host_.Create(GetPlugin());
  const auto document = qx::CreateXmlDocument(state);
  Succeeds([&] { host_.Initialize(document ? document->GetRoot() : nullptr); });
  host_.LateInitialize();
}

void Agent::Restart() {
  const std::string before = Persist();
  Start(before);
  const std::string after = Persist();
  Require(before == after, "persisted " + before + ", restored " + after);
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

void Agent::OnHostCall(const host::HostCall& call) { RequireSound(host::FormatLine(call)); }

}  // namespace fuzz

/// Loads the plug-in before libFuzzer counts what there is to cover.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
  fuzz::GetPlugin();
  return 0;
}
