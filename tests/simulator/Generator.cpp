#include "tests/simulator/Generator.h"

#include <boost/algorithm/string.hpp>
#include <cstdio>
#include <fstream>
#include <functional>
#include <map>
#include <stdexcept>
#include <utility>
#include <vector>

#include "host/Transcript.h"

namespace simulator {
namespace {

using Rules = std::map<std::string, std::vector<std::string>, std::less<>>;

Rules ReadRules(const std::string& path) {
  std::ifstream file(path);
  if (!file) throw std::runtime_error("cannot read " + path);
  std::map<std::string, std::string> texts;
  std::string name;
  for (std::string line; std::getline(file, line);) {
    const auto colon = line.find(": ");
    if (line.empty() || line[0] == '#') continue;
    if (line[0] != ' ') name = line.substr(0, colon);
    texts[name] += line[0] != ' ' ? line.substr(colon + 1) : line;
  }
  Rules rules;
  for (const auto& [rule, text] : texts) {
    boost::split(rules[rule], text, boost::is_any_of("|"));
    for (std::string& alternative : rules[rule]) boost::trim(alternative);
  }
  return rules;
}

}  // namespace

std::string Generator::Next(const Model& model) {
  model_ = &model;
  return Apply("step");
}

std::string Generator::Expand(std::string_view text) {
  std::string expanded;
  for (auto open = text.find('{'); open != std::string_view::npos; open = text.find('{')) {
    const auto close = text.find('}');
    expanded += text.substr(0, open);
    expanded += Apply(text.substr(open + 1, close - open - 1));
    text.remove_prefix(close + 1);
  }
  return expanded.append(text);
}

std::string Generator::Apply(std::string_view rule) {
  if (rule.front() == '"') return host::Quote(Apply(rule.substr(1)));
  if (rule.front() == '&') return Escape(Apply(rule.substr(1)));
  using Made = std::string (Generator::*)();
  static const std::map<std::string_view, Made> kMade = {
      {"known-id", &Generator::KnownId}, {"known-item", &Generator::KnownItem},
      {"order", &Generator::Order},      {"moment", &Generator::Moment},
      {"date", &Generator::Date},        {"odd-text", &Generator::OddText},
      {"blank", &Generator::Blank}};
  const auto made = kMade.find(rule);
  if (made != kMade.end()) return (this->*made->second)();
  static const Rules kRules = ReadRules(STEPS_PATH);
  const auto found = kRules.find(rule);
  if (found == kRules.end()) throw std::runtime_error("no rule " + std::string(rule));
  const auto& alternatives = found->second;
  return Expand(alternatives[Below(alternatives.size())]);
}

std::string Generator::AnyOf(std::uint32_t Service::*field) {
  const auto& services = model_->GetServices();
  if (services.empty()) return "1";
  return std::to_string(services[Below(services.size())].*field);
}

std::string Generator::Order() {
  std::vector<std::string> ids;
  for (const Service& service : model_->GetServices()) {
    ids.push_back(std::to_string(static_cast<int>(service.id)));
    std::swap(ids.back(), ids[Below(ids.size())]);
  }
  std::string order;
  for (const std::string& id : ids) order += (order.empty() ? "" : ",") + id;
  return order;
}

/// Up to a day before or after the present.
std::string Generator::Moment() {
  constexpr std::int64_t kLast = 253402300799;  // of the year 9999
  const std::int64_t moment = model_->GetTime() - 86400 + Below(172800);
  const auto date = ToDate(moment > 0 && moment < kLast ? moment : 0);
  char text[80];
  std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d", date[0], date[1], date[2],
                date[3], date[4], date[5]);
  return text;
}

/// Within five minutes of the present, in one of the two forms.
std::string Generator::Date() {
  const auto date = ToDate(model_->GetTime() - 300 + Below(600));
  return ToXml(date, Below(2) == 0);
}

std::string Generator::OddText() { return GetOddTexts()[Below(GetOddTexts().size())].text; }

}  // namespace simulator
