#include "host/session/HearingTable.h"

#include <iterator>

namespace host {
namespace {

constexpr unsigned int kInstallers =
    static_cast<unsigned int>(Sender::kInstaller) | static_cast<unsigned int>(Sender::kActivity);
constexpr unsigned int kDesk = static_cast<unsigned int>(Sender::kDesk);
constexpr unsigned int kStaff = kInstallers | kDesk;
constexpr unsigned int kAll = kStaff | static_cast<unsigned int>(Sender::kGuest);

constexpr HearingRow kRows[] = {
    {Heard::kPush, "`push` lines", kAll},
    {Heard::kSessionLine, "steps, and the other lines that follow them or a timer", kInstallers},
    {Heard::kFromRequest, "`! from` before a request or a cancellation", kStaff},
    {Heard::kFromOther, "`! from` before another step", kInstallers},
    {Heard::kClock, "`! clock`", kAll},
    {Heard::kRestarted, "`! restarted`", kAll},
    {Heard::kOpen, "`! open`", kAll},
    {Heard::kEnded, "`! ended`", kStaff},
    {Heard::kHealth, "`! health` without paths", kDesk},
    {Heard::kHealthWithPaths, "`! health` with the plug-in's path and the error", kInstallers},
    {Heard::kNotice, "`! notice`", kInstallers},
    {Heard::kReplayEnd, "`! replay-end`", kAll},
};

}  // namespace

const HearingRow* HearingTable::begin() const { return std::begin(kRows); }

const HearingRow* HearingTable::end() const { return std::end(kRows); }

bool Hears(Sender role, Heard kind) { return kRows[static_cast<int>(kind)].Admits(role); }

Heard GetKind(std::string_view line) {
  return line.substr(0, 5) == "push " ? Heard::kPush : Heard::kSessionLine;
}

}  // namespace host
