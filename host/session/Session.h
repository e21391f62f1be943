#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "host/engine/Clock.h"
#include "host/engine/Host.h"
#include "host/engine/HostCall.h"
#include "host/engine/PluginLibrary.h"
#include "host/session/Step.h"

namespace host {

/// A host with an agent that is led by steps; what happens is said in lines. Errors of a step and
/// what the agent throws become `error` lines, and the session goes on.
class Session : private IHostListener {
 public:
  /// Takes one line, without its end.
  using LineSink = std::function<void(const std::string& line)>;

  /// `plugin` and `clock` must outlive the session. Sets the process's log level to INFO.
  Session(const PluginLibrary& plugin, Clock& clock, LineSink sink);
  /// Destroys the agent; what that says is not handed to the sink.
  ~Session() override;
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  void SetVerbose(bool verbose) { verbose_ = verbose; }

  /// Starts an agent with a state, or with an empty list; there must be none. Returns whether all
  /// of it succeeded; if not, there may be an agent that lacks some of the state.
  bool Start(const boost::shared_ptr<qx::XmlNode>& state = {});
  /// Destroys the agent and starts one of `plugin`, which must outlive the session, with the state
  /// that the first one leaves. If that fails, an agent of the plug-in before takes its place, and
  /// this returns false.
  bool Replace(const PluginLibrary& plugin);
  /// Carries out a step, given without the "> " before it.
  void RunStep(std::string_view line);
  /// Moves the clock on to that many milliseconds of its monotonic time, and delivers every expiry
  /// on the way at the moment at which it is due. A moment in the past moves nothing.
  void AdvanceTo(std::int64_t moment);

  Host& GetHost() { return host_; }

 private:
  struct Verb;
  static const Verb* FindVerb(const std::string& name);

  void OnHostCall(const HostCall& call) override;
  void Execute(const Step& step);
  /// Runs something that may throw; an exception becomes an `error` line. Returns whether there was
  /// none.
  bool Guarded(const std::function<void()>& action);
  void Answer(const std::string& text);
  void DestroyAgent();

  void OnCommand(const Step& step);
  void OnUI(const Step& step);
  void OnEvent(const Step& step);
  void OnAdvance(const Step& step);
  void OnClock(const Step& step);
  void OnPersist(const Step& step);
  void OnRestart(const Step& step);
  void OnProgramming(const Step& step);
  void OnForwarder(const Step& step);
  void OnLogLevel(const Step& step);
  void OnVerbose(const Step& step);

  const PluginLibrary* plugin_;
  Clock& clock_;
  LineSink sink_;
  bool verbose_ = false;
  Host host_;
};

}  // namespace host
