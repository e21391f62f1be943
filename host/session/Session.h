#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>

#include "host/engine/Clock.h"
#include "host/engine/Host.h"
#include "host/engine/HostCall.h"
#include "host/engine/PluginLibrary.h"
#include "host/session/Failure.h"

namespace host {

/// A host with an agent whose calls become lines. A failure becomes an `error` line, and the
/// session goes on.
class Session : private IHostListener {
 public:
  /// Takes one line, without its line end. Called from inside the agent's calls to the host: it
  /// must not call the session.
  using LineSink = std::function<void(const std::string& line)>;

  /// `plugin` and `clock` must outlive the session. Sets the process's log level to INFO.
  Session(const PluginLibrary& plugin, Clock& clock, LineSink sink);
  /// Destroys the agent; the sink does not receive the lines of that.
  ~Session() override;
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  Host& GetHost() { return host_; }
  /// Calls `log` with every assertion, besides its line, which has no place and no call stack.
  void SetAssertionLog(std::function<void(const Assertion&)> log) {
    logAssertion_ = std::move(log);
  }
  Clock& GetClock() { return clock_; }
  /// Whether registrations, bindings and timers become lines, too.
  void SetVerbose(bool verbose) { verbose_ = verbose; }

  /// Starts an agent with a state, or with an empty list; there must be none. Prints each failure
  /// and returns the first. `Host::HasAgent` tells whether there is an agent then; it may lack
  /// some of the state.
  std::optional<Failure> Start(const boost::shared_ptr<qx::XmlNode>& state = {});
  /// Destroys the agent and starts another one, as `Start` does.
  std::optional<Failure> Restart(const boost::shared_ptr<qx::XmlNode>& state);
  /// Restarts with an agent of `plugin`, which must outlive the session, and the state of the
  /// present agent. On failure, or when the new agent's state has another root name, restarts with
  /// the previous plug-in and returns why; there is no agent if that fails, too. Throws what the
  /// agent throws when it is asked for its state; the agent goes on then.
  std::optional<Failure> Replace(const PluginLibrary& plugin);
  /// The agent's state as a new agent would read it; null if the agent gives none.
  boost::shared_ptr<qx::XmlNode> CopyState();

  /// Advances the clock to that many milliseconds of its monotonic time. Delivers each timer expiry
  /// on the way at its own moment. A moment in the past does nothing.
  void AdvanceTo(std::int64_t moment);

  /// Prints an `answer` line.
  void Answer(const std::string& text);
  /// Prints any line.
  void Print(const std::string& line) { sink_(line); }
  /// Prints the `error` line of a failure.
  void Report(const Failure& failure);

 private:
  void OnHostCall(const HostCall& call) override;
  /// Runs `action`, and reports its failure.
  std::optional<Failure> Guard(const std::function<void()>& action);

  const PluginLibrary* plugin_;
  Clock& clock_;
  LineSink sink_;
  std::function<void(const Assertion&)> logAssertion_;
  bool verbose_ = false;
  Host host_;
};

/// Parses the text of a state. Throws `std::runtime_error` when it does not parse.
boost::shared_ptr<qx::XmlNode> ParseState(const std::string& text);

}  // namespace host
