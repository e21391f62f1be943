#include "bench/Property.h"

#include <charconv>
#include <map>
#include <string_view>

#include "bench/RunningAgent.h"

namespace bench {
namespace {

std::string Padded(std::string text, std::size_t number, std::size_t size) {
  const std::string digits = std::to_string(number);
  text.resize(size - digits.size(), '0');
  return text + digits;
}

void AppendText(std::string& out, std::string_view name, std::string_view value) {
  out.append(name);
  std::size_t from = 0;
  for (std::size_t i = 0; i < value.size(); ++i) {
    const char c = value[i];
    if (c != '&' && c != '<' && c != '>' && c != '"') continue;
    out.append(value, from, i - from);
    out.append(c == '&' ? "&amp;" : c == '<' ? "&lt;" : c == '>' ? "&gt;" : "&quot;");
    from = i + 1;
  }
  out.append(value, from, value.size() - from).append(1, '"');
}

void AppendNumber(std::string& out, std::string_view name, int value) {
  char digits[16];
  char* const end = std::to_chars(digits, digits + sizeof digits, value).ptr;
  out.append(name).append(digits, end).append(1, '"');
}

}  // namespace

std::vector<Record> MakeRecords(std::size_t count) {
  std::vector<Record> records;
  for (std::size_t i = 1; i <= count; ++i) {
    const char* what = i % 4 == 0 ? "Fresh towels & linen, room " : "Fresh towels and linen, room ";
    records.push_back({static_cast<unsigned int>(i), Padded("Service ", i, 13), Padded(what, i, 40),
                       static_cast<int>(i % 30), i % 5 == 0 ? -1 : 60, Padded("HK", i, 8),
                       i % 3 == 0 ? 1 : 0, "03/02/2024 09:05:07"});
  }
  return records;
}

std::string AppendReply(const std::vector<Record>& records) {
  std::string out = "<guest_services>";
  for (const Record& record : records) {
    AppendNumber(out, "<guest_service id=\"", static_cast<int>(record.id));
    AppendText(out, " name=\"", record.name);
    AppendText(out, " description=\"", record.description);
    AppendNumber(out, " icon=\"", record.icon);
    AppendNumber(out, " delay=\"", record.delay);
    AppendText(out, " operarequest=\"", record.operarequest);
    AppendNumber(out, " state=\"", record.state);
    AppendText(out, "><request_time DATETIME=\"", record.requestTime);
    out.append("/></guest_service>");
  }
  return out.append("</guest_services>");
}

const std::string& GetReply(std::size_t count) {
  static std::map<std::size_t, std::string> replies;
  std::string& reply = replies[count];
  if (reply.empty()) reply = AppendReply(MakeRecords(count));
  return reply;
}

const std::string& GetState(std::size_t count) {
  static std::map<std::size_t, std::string> states;
  std::string& state = states[count];
  if (state.empty()) state = RunningAgent(GetReply(count)).GetHost().Persist()->OuterXml();
  return state;
}

}  // namespace bench
