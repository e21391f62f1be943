#include "tests/simulator/Generator.h"

#include <cstdio>
#include <map>
#include <utility>
#include <vector>

#include "host/Transcript.h"

namespace simulator {
namespace {

using Rules = std::map<std::string_view, std::vector<const char*>>;

// One of the alternatives takes the place of {rule}: as it is, {"rule} in quotes, {&rule} as XML.
// clang-format off
const Rules kRules = {
  {"step", {"{change}", "{change}", "{guest}", "{guest}", "{time}", "{look}", "{around}"}},

  {"change", {"{add}", "{add}", "{edit}", "{edit}", "REMOVE_SERVICE id={id}",
              "REORDER_SERVICES order={order}", "REORDER_SERVICES order={\"bad-order}"}},
  {"add", {"ADD_SERVICE {service-params}", "ADD_SERVICE type=Shortcut {service-params}",
           "ADD_SERVICE type=shortcut shortcut_id={number}", "ADD_SERVICE"}},
  {"service-params", {R"(name={"text} description={"text} delay={number} operarequest={"text})",
                      R"(name={"text} icon={number} delay={number})"}},
  {"edit", {"EDIT_SERVICE guest_service={\"guest-service}",
            "EDIT_SERVICE guest_service={\"guest-service}",
            "EDIT_SERVICE type=shortcut shortcut={\"shortcut}",
            "EDIT_SERVICE guest_service={\"entry}", "EDIT_SERVICE type=shortcut shortcut={\"entry}",
            "EDIT_SERVICE guest_service={\"broken}", "EDIT_SERVICE type=shortcut"}},
  {"bad-order", {"", "1,,2", "{order},", "{order},{id}", "{order},x", "{order}, 1", "+1,02",
                 "2147483648", "-1", "1;2", "+"}},

  {"guest", {"SEND_REQUEST_EVENT id={id}", "SEND_REQUEST_EVENT id={id} operarequest={\"text}",
             "SEND_CANCEL_EVENT id={id}"}},

  {"time", {"advance {digit}m", "advance {digit}{digit}s", "advance {digit}{digit}s",
            "advance 30s", "advance 15m", "clock {moment}", "{long-time}"}},
  {"long-time", {"advance {digit}h", "clock {moment}", "clock 0001-01-01T00:00:00",
                 "clock 1969-12-31T23:59:59", "clock 2024-02-29T12:00:00",
                 "clock 2038-01-19T03:14:07", "clock 2038-01-19T03:14:08",
                 "clock 9999-12-31T23:59:59", "{longest-time}"}},
  {"longest-time", {"advance 168h", "advance {digit}{digit}h", "advance {digit}h"}},

  {"look", {"{ui}GET_SERVICE id={id}", "{ui}GET_ALL_SERVICES", "persist", "{rare-look}"}},
  {"rare-look", {"{ui}GET_SERVICE_TYPES id=1", "{ui}NO_SERVICE", "ui ADD_SERVICE",
                 "{ui}GET_SERVICE"}},
  {"ui", {"", "ui "}},

  {"around", {"{restart}", "{restart}", "event 11 {item} 5 7 9", "event {event}",
              "{switch}"}},
  {"restart", {"restart", "restart", "restart state={\"state}", "restart state={\"state}",
               "restart state=none"}},
  {"event", {"none", "{code}", "12 {item} 5 7 9", "11 {item} 5 6 9", "11 {item} 5 0 9"}},
  {"code", {"0", "1", "7", "11", "12", "69", "70", "71", "121", "122", "4294967295"}},
  {"switch", {"programming on", "programming off", "forwarder on", "forwarder off", "verbose on",
              "verbose off", "verbose off", "loglevel DEBUG", "loglevel INFO", "loglevel INFO",
              "loglevel ERROR", "loglevel OFF"}},

  {"state", {"<guest_services>{entries}</guest_services>", "<guest_services/>", "<x>{entries}</x>",
             "<guest_services>{entries}{broken}</guest_services>", "{broken}"}},
  {"entries", {"", "{entry}", "{entry}{entry}", "{entry}\n <!-- and --> {entry}{entry}"}},
  {"entry", {"{guest-service}", "{guest-service}", "{shortcut}",
             R"(<other shortcut_id="1" id="{id}"/>)"}},
  {"shortcut", {R"(<shortcut id="{id}" shortcut_id="{number}"/>)",
                R"(<a shortcut_id="2" id="{id}">b</a>)"}},
  {"guest-service", {
      R"(<guest_service id="{id}" name="{&text}" description="{&text}" icon="{number}" )"
      R"(delay="{number}" operarequest="{&text}" state="{state-value}">{requested}</guest_service>)",
      R"(<guest_service state="1" name="{&text}" id="{id}">text<a/>{requested}</guest_service>)"}},
  {"state-value", {"0", "1", "1", "{number}"}},
  {"requested", {"{date-element}", "{date-element}", "{date-element}", "<request_time/>", "",
            "{date-element}<request_time YEAR=\"1\"/>", "<a><request_time YEAR=\"1\"/></a>",
            R"(<request_time DATETIME="03/02/2024 09:05"/>)"}},
  {"date-element", {"<request_time {date}/>", "<request_time {date} x=\"1\"/>",
      R"(<request_time DATETIME="{digit}3-0{digit}T{year}x2{digit}.05.{digit}"/>)",
      R"(<request_time DATETIME="0{digit}90{digit}9{year}91{digit}9359{digit}{digit}"/>)",
      R"(<request_time YEAR="{year}" MONTH="{odd-part}" DAY="{odd-part}" HOUR="-{digit}"/>)"}},
  {"odd-part", {"0", "2", "13", "-1", "31", "5x", "99", "-70"}},
  {"year", {"2024", "1970", "0000", "x", "9999"}},
  {"broken", {"", "no XML", "<a", "<a/><b/>", "<a></b>", "<guest_service id=\"{id}\">"}},

  {"id", {"{known-id}", "{known-id}", "{known-id}", "{known-id}", "{known-id}", "{number}"}},
  {"item", {"{known-item}", "{known-item}", "{known-item}", "{digit}"}},
  {"number", {"0", "1", "1", "2", "2", "3", "5", "-1", "{odd-number}"}},
  {"odd-number", {"x", "5x", "+2", "007", "-2", "2147483647", "2147483648", "4294967295",
                  "-2147483648", "4294967297"}},
  {"digit", {"0", "1", "2", "3", "4", "5", "6", "7", "8", "9"}},
  {"text", {"", "Valet", "{piece}", "{piece}{piece}", "{piece} {piece}{piece}"}},
  {"piece", {"Valet", "'", "=", "\\", "Fr\u00FChst\u00FCck", "\U0001F6CE", "]]>", "\x7F",
             "{odd-text}", "{odd-text}", "{odd-text}"}},
};
// clang-format on

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
      {"date", &Generator::Date},        {"odd-text", &Generator::OddText}};
  const auto made = kMade.find(rule);
  if (made != kMade.end()) return (this->*made->second)();
  const auto& alternatives = kRules.at(rule);
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
