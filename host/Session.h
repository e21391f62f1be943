#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "host/Clock.h"
#include "host/Host.h"
#include "host/HostCall.h"
#include "host/PluginLibrary.h"
#include "host/Step.h"

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

  /// Starts the first agent with an empty list.
  void Start() { StartAgent({}); }
  /// Carries out a step, given without the "> " before it.
  void RunStep(std::string_view line);
  /// Delivers every expiry that is due by now.
  void DeliverExpiries();

  Host& GetHost() { return host_; }

 private:
  struct Verb;
  static const Verb* FindVerb(const std::string& name);

  void OnHostCall(const HostCall& call) override;
  void Execute(const Step& step);
  void StartAgent(const boost::shared_ptr<qx::XmlNode>& state);
  /// Runs something that may throw; an exception becomes an `error` line.
  void Guarded(const std::function<void()>& action);
  void Answer(const std::string& text);

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

  const PluginLibrary& plugin_;
  Clock& clock_;
  LineSink sink_;
  bool verbose_ = false;
  Host host_;
};

}  // namespace host
