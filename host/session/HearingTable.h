#pragma once

#include <string_view>

#include "host/session/StepTable.h"

namespace host {

/// The kinds of lines that a live host sends to pages.
enum class Heard {
  kPush,
  kSessionLine,
  kFromRequest,
  kFromOther,
  kClock,
  kRestarted,
  kOpen,
  kEnded,
  kHealth,
  kHealthWithPaths,
  kNotice,
  kReplayEnd,
};

/// A row of the hearing table: a kind of lines.
struct HearingRow {
  Heard kind;
  std::string_view lines;  // what they are
  unsigned int roles;      // the bits of the roles whose pages get them

  bool Admits(Sender role) const { return (roles & static_cast<unsigned int>(role)) != 0; }
};

/// The hearing table: what the pages of each role get, besides the answers, refusals and errors of
/// their own steps. In the order of `Heard`.
struct HearingTable {
  const HearingRow* begin() const;
  const HearingRow* end() const;
};

/// Whether the pages of a role get lines of that kind.
bool Hears(Sender role, Heard kind);

/// The kind of a session's line: a step, or a line that followed.
Heard GetKind(std::string_view line);

}  // namespace host
