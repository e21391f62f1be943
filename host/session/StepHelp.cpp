#include "host/session/StepHelp.h"

#include <algorithm>

namespace host {
namespace {

struct StepUsage {
  std::string_view usage;  // the name first
  std::string_view meaning;
};

constexpr StepUsage kSteps[] = {
    {"ADD_SERVICE name= description= icon= delay= operarequest=", "a new guest service"},
    {"ADD_SERVICE type=shortcut shortcut_id=", "a new shortcut to an item"},
    {"EDIT_SERVICE guest_service='XML'", "put a guest service in the place of the one of its id"},
    {"EDIT_SERVICE type=shortcut shortcut='XML'", "the same for a shortcut"},
    {"REMOVE_SERVICE id=", "remove an entry"},
    {"REORDER_SERVICES order=", "put the entries in the order of these ids, 3,1,2"},
    {"SEND_REQUEST_EVENT id= operarequest=", "request a service"},
    {"SEND_CANCEL_EVENT id=", "cancel a request"},
    {"GET_SERVICE_TYPES", "the types of services, as a command's answer"},
    {"GET_ALL_SERVICES", "all entries, as a command's answer"},
    {"GET_SERVICE id=", "one entry, as a command's answer"},
    {"ui GET_SERVICE_TYPES", "the same as a user interface's request ..."},
    {"ui GET_ALL_SERVICES", "..."},
    {"ui GET_SERVICE id=", "..."},
    {"event 11 ITEM 0 7 0",
     "the host's event that an item was removed; also: event CODE, event none"},
    {"advance 14m30s", "let that much time pass at once"},
    {"clock 2024-03-02T09:05:07", "set the wall clock"},
    {"persist", "show the state"},
    {"restart", "destroy the agent and start one with its state; also: state='XML', state=none"},
    {"reload", "the same with the plug-in's file loaded anew"},
    {"programming on|off", "whether the host has a programming manager"},
    {"forwarder on|off", "whether the host has a request forwarder"},
    {"loglevel TRACE|DEBUG|INFO|WARN|ERROR|FATAL|OFF", "which log records there are"},
    {"verbose on|off", "whether registrations and timers are shown"},
    {"export FILE", "write the session so far as a scenario that replays"},
    {"help", "this list"},
};

using Words = std::vector<std::string_view>;

Words Split(std::string_view line) {
  constexpr std::string_view kBlanks = " \t";
  Words words;
  for (;;) {
    line.remove_prefix(std::min(line.find_first_not_of(kBlanks), line.size()));
    if (line.empty()) return words;
    words.push_back(line.substr(0, line.find_first_of(kBlanks)));
    line.remove_prefix(words.back().size());
  }
}

/// What may follow `typed`, the whole words before the cursor, by one usage.
Words WordsAfter(const Words& typed, const Words& usage) {
  const std::size_t names = usage[0] == "ui" ? 2 : 1;
  const std::size_t common = std::min(names, typed.size());
  if (!std::equal(usage.begin(), usage.begin() + static_cast<std::ptrdiff_t>(common),
                  typed.begin())) {
    return {};
  }
  if (common < names) return {usage[common]};
  Words parameters;
  for (const std::string_view word : usage) {
    const std::string_view parameter = word.substr(0, word.find('=') + 1);
    const auto isGiven = [&](std::string_view other) {
      return other.substr(0, parameter.size()) == parameter;
    };
    if (parameter.empty() || std::any_of(typed.begin(), typed.end(), isGiven)) continue;
    parameters.push_back(parameter);
  }
  return parameters;
}

}  // namespace

std::string GetStepHelp() {
  std::string text;
  for (const StepUsage& step : kSteps) {
    text += step.usage;
    constexpr std::size_t kColumn = 60;
    text.append(step.usage.size() < kColumn ? kColumn - step.usage.size() : 1, ' ');
    (text += step.meaning) += '\n';
  }
  return text;
}

std::vector<std::string> CompleteStep(std::string_view line) {
  Words typed = Split(line);
  std::string_view begun;
  if (!line.empty() && line.back() != ' ') {
    begun = typed.back();
    typed.pop_back();
  }
  std::vector<std::string> words;
  for (const StepUsage& step : kSteps) {
    for (const std::string_view word : WordsAfter(typed, Split(step.usage))) {
      const bool fits = word.substr(0, begun.size()) == begun;
      if (fits && std::find(words.begin(), words.end(), word) == words.end()) {
        words.emplace_back(word);
      }
    }
  }
  return words;
}

}  // namespace host
