#pragma once

#include <string>
#include <string_view>

#include "host/session/Session.h"
#include "host/session/Step.h"

namespace host {

/// Where a step comes from: a scenario, the console, or a page, whose role stands for it. The step
/// table names the senders that may send each step. The values are bits.
enum class Sender : unsigned int {
  kScenario = 1,
  kConsole = 2,
  kGuest = 4,
  kDesk = 8,
  kInstaller = 16,
  kActivity = 32,
};

/// A sender with its name: "scenario", "guest".
struct SenderRow {
  Sender sender;
  std::string_view name;
  bool isPage;
};

constexpr SenderRow kSenders[] = {
    {Sender::kScenario, "scenario", false},  {Sender::kConsole, "console", false},
    {Sender::kGuest, "guest", true},         {Sender::kDesk, "desk", true},
    {Sender::kInstaller, "installer", true}, {Sender::kActivity, "activity", true},
};

std::string_view GetName(Sender sender);
/// Whether it is the role of a page.
bool IsPage(Sender sender);

/// The steps that reach beyond a session; only a live session carries them out.
class ILiveSteps {
 public:
  virtual ~ILiveSteps() = default;

  /// Loads the plug-in's file again and hands the state over. Throws `std::exception` when the file
  /// cannot be loaded. If its agent does not start, prints why and starts the previous plug-in's.
  virtual void Reload() = 0;
  /// Writes the session so far to a new file. Throws `std::system_error`.
  virtual void Export(const std::string& path) = 0;
  /// Lets the host end after the present step.
  virtual void Exit() = 0;
};

/// What a step acts on.
struct StepContext {
  Session& session;
  ILiveSteps* live;  // null in a scenario
};

/// What a step may do to the agent's state.
enum class Effect {
  kNone,     // nothing
  kChanges,  // change it, by no more than numbers and an order
  kGrows,    // add as much to it as its text has, in escaped form
};

/// A row of the step table: one kind of step.
struct StepRow {
  std::string_view usage;  // the step's name first
  std::string_view meaning;
  unsigned int senders;  // the bits of the senders that may send it
  bool isQuery;          // its lines go to its sender alone
  Effect effect;
  void (*run)(const StepContext& context, const Step& step);

  std::string_view GetName() const { return usage.substr(0, usage.find(' ')); }
  bool Admits(Sender sender) const { return (senders & static_cast<unsigned int>(sender)) != 0; }
  /// Whether it requests a service or cancels a request: the guests' steps beside their queries.
  bool IsRequest() const { return Admits(Sender::kGuest) && !isQuery; }
  /// Whether it destroys the agent and starts another one.
  bool Restarts() const;
};

/// A row's name that stands for any command's or request's name.
constexpr std::string_view kAnyName = "NAME";

/// The step table: every kind of step, in the order of `help`.
struct StepTable {
  const StepRow* begin() const;
  const StepRow* end() const;
};

/// Parses a line, given without the "> " before it, and looks its row up. Throws `StepError`, also
/// for a step that this sender may not send; for a page it names the role and its steps.
Step ReadStep(std::string_view line, Sender sender);

/// Carries out a step of `ReadStep`. A failure becomes an `error` line of the session.
/// `context.live` is set unless the step was read as a scenario's.
void RunStep(const StepContext& context, const Step& step);

/// Reads a scenario's line and carries it out. Every failure becomes an `error` line.
void RunScenarioLine(Session& session, std::string_view line);

}  // namespace host
