#include "host/session/StepCompletion.h"

#include <algorithm>

#include "host/session/StepTable.h"
#include "host/session/Transcript.h"

namespace host {
namespace {

constexpr std::string_view kBlanks = " \t";

using Words = std::vector<std::string_view>;

Words Split(std::string_view line) {
  Words words;
  for (;;) {
    line.remove_prefix(std::min(line.find_first_not_of(kBlanks), line.size()));
    if (line.empty()) return words;
    words.push_back(line.substr(0, line.find_first_of(kBlanks)));
    line.remove_prefix(words.back().size());
  }
}

/// How many words of a usage name the step: a request's name follows "ui".
std::ptrdiff_t CountNames(const Words& usage) { return usage[0] == "ui" ? 2 : 1; }

/// The words that can follow `typed`, the whole words before the cursor, in one usage.
Words WordsAfter(const Words& typed, const Words& usage) {
  const auto names = static_cast<std::size_t>(CountNames(usage));
  const std::size_t common = std::min(names, typed.size());
  if (!std::equal(usage.begin(), usage.begin() + static_cast<std::ptrdiff_t>(common),
                  typed.begin())) {
    return {};
  }
  if (common < names) return {usage[common]};
  Words parameters;
  for (const std::string_view word : usage) {
    std::string_view parameter = word.substr(0, word.find('=') + 1);
    if (parameter.substr(0, 1) == "[") parameter.remove_prefix(1);
    const auto isGiven = [&](std::string_view other) {
      return other.substr(0, parameter.size()) == parameter;
    };
    if (parameter.empty() || std::any_of(typed.begin(), typed.end(), isGiven)) continue;
    parameters.push_back(parameter);
  }
  return parameters;
}

}  // namespace

std::string DescribeUnknownKeys(const Step& step) {
  Words names = {step.name};
  if (step.name == "ui" && !step.words.empty()) names.push_back(step.words[0].value);
  if (!Step::IsCommandName(names.back())) return "";
  bool isListed = false;
  Words known;
  for (const StepRow& row : StepTable()) {
    const Words usage = Split(row.usage);
    if (!std::equal(names.begin(), names.end(), usage.begin(), usage.begin() + CountNames(usage))) {
      continue;
    }
    isListed = true;
    for (const std::string_view key : WordsAfter(names, usage)) known.push_back(key);
  }
  std::string unknown;
  for (const StepWord& word : step.words) {
    const bool isKnown = std::find(known.begin(), known.end(), word.key + '=') != known.end();
    if (isListed && !word.key.empty() && !isKnown) unknown += ' ' + word.key + '=';
  }
  if (unknown.empty()) return "";
  std::string text = std::string(names.back()) + " has no parameter" + unknown;
  if (!known.empty()) text += "; it has";
  for (const std::string_view key : known) (text += ' ') += key;
  return ToOneLine(text);
}

std::vector<std::string> CompleteStep(std::string_view line) {
  Words typed = Split(line);
  std::string_view begun;
  const bool isWordBegun = !typed.empty() && kBlanks.find(line.back()) == std::string_view::npos;
  if (isWordBegun) {
    begun = typed.back();
    typed.pop_back();
  }
  std::vector<std::string> words;
  for (const StepRow& row : StepTable()) {
    const Words usage = Split(row.usage);
    if (std::find(usage.begin(), usage.end(), kAnyName) != usage.end()) continue;
    for (const std::string_view word : WordsAfter(typed, usage)) {
      const bool fits = word.substr(0, begun.size()) == begun;
      if (fits && std::find(words.begin(), words.end(), word) == words.end()) {
        words.emplace_back(word);
      }
    }
  }
  return words;
}

}  // namespace host
