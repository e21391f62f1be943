#include "host/session/Transcript.h"

#include <algorithm>
#include <iterator>
#include <variant>

#include "platform/xml/Utf8.h"
#include "platform/xml/XmlNode.h"

namespace host {
namespace {

std::string Number(unsigned int number) { return std::to_string(number); }

template <typename Enum>
std::string Value(Enum value) {
  return std::to_string(static_cast<int>(value));
}

std::string Word(bool flag) { return flag ? "true" : "false"; }

/// A kind of call. Its name is the first word of its line; "" for calls without a line.
struct Kind {
  std::string_view name;
  bool isVerbose;  // its line is printed by a verbose session only
};

// In the order of the types in `HostCall`.
constexpr Kind kKinds[] = {
    {"", false},
    {"interface-registered", true},
    {"interface-withdrawn", true},
    {"listening", true},
    {"listening-ended", true},
    {"binding-added", true},
    {"binding-removed", true},
    {"timer-armed", true},
    {"timer-killed", true},
    {"push", false},
    {"bound", false},
    {"fire", false},
    {"forward", false},
    {"programming-owned", false},
    {"programming-item", false},
    {"owner-removed", false},
    {"log", false},
    {"assert", false},
};
static_assert(std::size(kKinds) == std::variant_size_v<HostCall>);

constexpr std::string_view kAnswer = "answer";
constexpr std::string_view kError = "error";

// What follows the name. One overload a type of call.
struct RestOf {
  std::string operator()(const InterfaceLookUp&) const { return ""; }
  std::string operator()(const InterfaceRegistered& call) const { return ' ' + ToOneLine(call.id); }
  std::string operator()(const InterfaceWithdrawn& call) const { return ' ' + ToOneLine(call.id); }
  std::string operator()(const Listening& call) const { return ' ' + Number(call.event); }
  std::string operator()(const ListeningEnded& call) const { return ' ' + Number(call.event); }
  std::string operator()(const BindingAdded& call) const {
    return ' ' + Number(call.id) + ' ' + Value(call.type) + ' ' + Word(call.first) + ' ' +
           Quote(call.name) + ' ' + Quote(call.bindingClass) + ' ' + Word(call.second) + ' ' +
           Word(call.third) + ' ' + (call.text != nullptr ? Quote(call.text) : "null");
  }
  std::string operator()(const BindingRemoved& call) const { return ' ' + Number(call.id); }
  std::string operator()(const TimerArmed& call) const {
    return ' ' + Number(call.period) + ' ' + Number(call.unit) + ' ' + Word(call.once);
  }
  std::string operator()(const TimerKilled&) const { return ""; }
  std::string operator()(const Push& call) const { return ' ' + call.element.OuterXml(); }
  std::string operator()(const Bound& call) const {
    std::string line = ' ' + Number(call.bindingId) + ' ' + ToOneLine(call.message.GetCommand());
    for (const auto& param : call.message.GetParams()) {
      line += ' ' + ToOneLine(param.name) + ':' + ToOneLine(param.type) + '=' + Number(param.value);
    }
    return line;
  }
  std::string operator()(const Fire& call) const { return ' ' + Number(call.event); }
  std::string operator()(const Forward& call) const {
    return ' ' + Quote(call.source) + ' ' + Quote(call.requestCode);
  }
  std::string operator()(const ProgrammingOwned& call) const {
    return ' ' + Number(call.deviceId) + ' ' + Number(call.item) + ' ' + Value(call.ownerType);
  }
  std::string operator()(const ProgrammingItem& call) const {
    return ' ' + Number(call.deviceId) + ' ' + Number(call.item);
  }
  std::string operator()(const OwnerRemoved& call) const {
    return ' ' + Number(call.id) + ' ' + Value(call.ownerType);
  }
  std::string operator()(const Log& call) const {
    return ' ' + call.record.levelName + ' ' + Quote(call.record.text);
  }
  std::string operator()(const Assertion& call) const { return ' ' + ToOneLine(call.file); }
};

void AppendHex(std::string& out, char c) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  const auto byte = static_cast<unsigned char>(c);
  out += "\\x";
  out += kDigits[byte >> 4];
  out += kDigits[byte & 15];
}

// Outside quotes, only what would break the line or is not UTF-8 is escaped: the line shows the
// text as the agent sent it.
std::string Escape(std::string_view text, bool inQuotes) {
  std::string out;
  while (!text.empty()) {
    const char c = text.front();
    const int length = qx::Utf8Length(text);
    if (inQuotes && (c == '"' || c == '\\')) {
      (out += '\\') += c;
    } else if (c == '\n') {
      out += "\\n";
    } else if (c == '\t') {
      out += "\\t";
    } else if (length < 0 || static_cast<unsigned char>(c) < 0x20 || (inQuotes && c == 0x7F)) {
      AppendHex(out, c);
    } else {
      out += text.substr(0, static_cast<std::size_t>(length));
      text.remove_prefix(static_cast<std::size_t>(length));
      continue;
    }
    text.remove_prefix(1);
  }
  return out;
}

}  // namespace

std::string FormatLine(const HostCall& call) {
  return std::string(kKinds[call.index()].name) + std::visit(RestOf(), call);
}

std::string FormatAnswer(std::string_view text) {
  return std::string(kAnswer) + (text.empty() ? "" : ' ' + ToOneLine(text));
}

std::string FormatError(std::string_view reason) {
  return std::string(kError) + ' ' + ToOneLine(reason);
}

bool IsVerbose(const HostCall& call) { return kKinds[call.index()].isVerbose; }

bool IsPrinted(std::string_view line) {
  const std::string_view name = line.substr(0, line.find(' '));
  const auto isOfKind = [&](const Kind& kind) { return name == kind.name; };
  return !name.empty() && (name == kAnswer || name == kError ||
                           std::any_of(std::begin(kKinds), std::end(kKinds), isOfKind));
}

bool IsError(std::string_view line) { return line.substr(0, line.find(' ')) == kError; }

bool IsAnswer(std::string_view line) { return line.substr(0, line.find(' ')) == kAnswer; }

std::string Quote(std::string_view text) { return '"' + Escape(text, true) + '"'; }

std::string ToOneLine(std::string_view text) { return Escape(text, false); }

std::string ToPrintable(std::string_view line) { return qx::ToPrintable(line); }

bool IsUtf8(std::string_view text) {
  while (!text.empty()) {
    const int length = qx::Utf8Length(text);
    if (length < 0) return false;
    text.remove_prefix(static_cast<std::size_t>(length));
  }
  return true;
}

}  // namespace host
