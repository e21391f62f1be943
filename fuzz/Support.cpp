#include "fuzz/Support.h"

#include <libxml/parser.h>

#include <algorithm>
#include <boost/lexical_cast.hpp>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

#include "host/session/Transcript.h"
#include "platform/Dispatchers.h"
#include "platform/xml/XmlNode.h"

namespace fuzz {
namespace {

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

bool AreUnique(std::vector<unsigned int> ids) {
  std::sort(ids.begin(), ids.end());
  return std::adjacent_find(ids.begin(), ids.end()) == ids.end();
}

void Agent::Start(const std::string& state) {
  const std::string left = Stop();
  Require(left.empty(), "left registered: " + left);
  Succeeds([&] { Harness::Start(test::Stage::kInitialized, state); });
  GetHost().LateInitialize();
}

void Agent::Restart() {
  const std::string before = Persist();
  Start(before);
  const std::string after = Persist();
  Require(before == after, "persisted " + before + ", restored " + after);
}

bool Agent::Execute(const host::CmdMessage& message) {
  host::CmdReturn answer;
  const bool isDone = Succeeds([&] { GetHost().Execute(message, &answer); });
  // The element of an unknown service has no text.
  if (answer.GetValue() && !answer.GetValue()->empty()) RequireWellFormed(*answer.GetValue());
  return isDone;
}

bool Agent::Request(const host::CmdMessage& message) {
  boost::shared_ptr<qx::XmlNode> answer;
  const bool isDone = Succeeds([&] { answer = GetHost().Request(message); });
  if (answer && !answer->GetName().empty()) RequireWellFormed(answer->OuterXml());
  return isDone;
}

std::string Agent::Persist() {
  std::string text = GetHost().Persist()->OuterXml();
  RequireWellFormed(text);
  return text;
}

void Agent::OnHostCall(const host::HostCall& call) { RequireSound(host::FormatLine(call)); }

}  // namespace fuzz

/// Loads the plug-in before libFuzzer counts what there is to cover.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
  const fuzz::Agent agent;
  return 0;
}
