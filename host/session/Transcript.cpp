#include "host/session/Transcript.h"

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

// One overload a type of call.
struct LineOf {
  std::string operator()(const InterfaceLookUp&) const { return ""; }
  std::string operator()(const InterfaceRegistered& call) const {
    return "interface-registered " + ToOneLine(call.id);
  }
  std::string operator()(const InterfaceWithdrawn& call) const {
    return "interface-withdrawn " + ToOneLine(call.id);
  }
  std::string operator()(const Listening& call) const { return "listening " + Number(call.event); }
  std::string operator()(const ListeningEnded& call) const {
    return "listening-ended " + Number(call.event);
  }
  std::string operator()(const BindingAdded& call) const {
    return "binding-added " + Number(call.id) + ' ' + Value(call.type) + ' ' + Word(call.first) +
           ' ' + Quote(call.name) + ' ' + Quote(call.bindingClass) + ' ' + Word(call.second) + ' ' +
           Word(call.third) + ' ' + (call.text != nullptr ? Quote(call.text) : "null");
  }
  std::string operator()(const BindingRemoved& call) const {
    return "binding-removed " + Number(call.id);
  }
  std::string operator()(const TimerArmed& call) const {
    return "timer-armed " + Number(call.period) + ' ' + Number(call.unit) + ' ' + Word(call.once);
  }
  std::string operator()(const TimerKilled&) const { return "timer-killed"; }
  std::string operator()(const Push& call) const { return "push " + call.element.OuterXml(); }
  std::string operator()(const Bound& call) const {
    std::string line = "bound " + Number(call.bindingId) + ' ' + call.message.GetCommand();
    for (const auto& param : call.message.GetParams()) {
      line += ' ' + param.name + ':' + param.type + '=' + Number(param.value);
    }
    return line;
  }
  std::string operator()(const Fire& call) const { return "fire " + Number(call.event); }
  std::string operator()(const Forward& call) const {
    return "forward " + Quote(call.source) + ' ' + Quote(call.requestCode);
  }
  std::string operator()(const ProgrammingOwned& call) const {
    return "programming-owned " + Number(call.deviceId) + ' ' + Number(call.item) + ' ' +
           Value(call.ownerType);
  }
  std::string operator()(const ProgrammingItem& call) const {
    return "programming-item " + Number(call.deviceId) + ' ' + Number(call.item);
  }
  std::string operator()(const OwnerRemoved& call) const {
    return "owner-removed " + Number(call.id) + ' ' + Value(call.ownerType);
  }
  std::string operator()(const Log& call) const {
    return "log " + call.record.levelName + ' ' + Quote(call.record.text);
  }
  std::string operator()(const Assertion& call) const { return "assert " + ToOneLine(call.file); }
};

struct VerboseOnly {
  bool operator()(const InterfaceRegistered&) const { return true; }
  bool operator()(const InterfaceWithdrawn&) const { return true; }
  bool operator()(const Listening&) const { return true; }
  bool operator()(const ListeningEnded&) const { return true; }
  bool operator()(const BindingAdded&) const { return true; }
  bool operator()(const BindingRemoved&) const { return true; }
  bool operator()(const TimerArmed&) const { return true; }
  bool operator()(const TimerKilled&) const { return true; }
  template <typename Other>
  bool operator()(const Other&) const {
    return false;
  }
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

std::string FormatLine(const HostCall& call) { return std::visit(LineOf(), call); }

std::string FormatError(std::string_view reason) { return "error " + ToOneLine(reason); }

bool IsVerbose(const HostCall& call) { return std::visit(VerboseOnly(), call); }

std::string Quote(std::string_view text) { return '"' + Escape(text, true) + '"'; }

std::string ToOneLine(std::string_view text) { return Escape(text, false); }

}  // namespace host
