#include "fuzz/Support.h"

#include <libxml/parser.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <utility>

#include "host/session/StepTable.h"
#include "host/session/Transcript.h"
#include "platform/xml/XmlNode.h"
#include "tests/support/Harness.h"

namespace fuzz {
namespace {

const std::string kAnswer = "answer ";

void RequireWellFormed(const std::string& text) {
  constexpr int kOptions = XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING;
  xmlDoc* const document =
      xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, "UTF-8", kOptions);
  Require(document != nullptr, "not well-formed: " + text);
  xmlFreeDoc(document);
}

/// The ids of the entries of an answer to "persist", in rising order.
std::vector<unsigned int> IdsOf(const std::string& list) {
  std::vector<unsigned int> ids;
  const auto root = qx::CreateXmlDocument(list.substr(kAnswer.size()))->GetRoot();
  auto* const entries = root->GetIterator();
  for (auto entry = entries->GetFirst(); entry; entry = entries->GetNext()) {
    Require(entry->HasAttribute("id"), "an entry without id: " + list);
    ids.push_back(static_cast<unsigned int>(entry->GetAttributeNumber("id")));
  }
  std::sort(ids.begin(), ids.end());
  return ids;
}

}  // namespace

void Require(bool holds, const std::string& what) {
  if (holds) return;
  std::fprintf(stderr, "FINDING: %s\n", host::ToOneLine(what).c_str());
  std::abort();
}

void RequireSound(const std::string& line) {
  Require(line.find('\n') == std::string::npos, "not one line: " + line);
  for (const std::string& mark : {std::string("push "), kAnswer}) {
    if (line.rfind(mark, 0) == 0) RequireWellFormed(line.substr(mark.size()));
  }
}

CheckedSession::CheckedSession()
    : clock_(test::kStart), session_(test::GetPlugin(), clock_, [this](const std::string& line) {
        lines_.push_back(line);
      }) {
  session_.Start();
  Run("persist");
}

void CheckedSession::Run(const std::string& step) {
  const Lines lines = RunStep(step);
  const std::string before = std::exchange(list_, RunStep("persist").at(0));
  const auto ids = IdsOf(list_);
  const bool areUnique = std::adjacent_find(ids.begin(), ids.end()) == ids.end();
  if (step != "restart" && step.find("restart") != std::string::npos) {
    isUnique_ = areUnique;  // with any state
  } else {
    const bool hasFailed = !lines.empty() && lines.back().rfind("error ", 0) == 0;
    Require(before == list_ || !(hasFailed || step == "restart"), before + " became " + list_);
    Require(areUnique || !isUnique_, "an id twice: " + list_);
  }
  // No ids are left after the last one.
  isUnique_ = isUnique_ && (ids.empty() || ids.back() != std::numeric_limits<unsigned int>::max());
}

CheckedSession::Lines CheckedSession::RunStep(const std::string& step) {
  host::RunScenarioLine(session_, step);
  for (const std::string& line : lines_) RequireSound(line);
  return std::exchange(lines_, {});
}

}  // namespace fuzz

/// Loads the plug-in before libFuzzer counts what there is to cover.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
  setenv("TZ", "UTC", 1);
  tzset();
  const fuzz::CheckedSession session;
  return 0;
}
