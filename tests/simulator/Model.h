#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "host/Step.h"
#include "tests/simulator/ServiceXml.h"

namespace simulator {

/// What the agent is documented to do, in its plainest form: the list, the requests, and every line
/// of the transcript. It shares nothing with the agent; of the host it uses the form of steps and
/// of quoted texts. The process's time zone must be UTC, and the session one that was just started,
/// at 2024-03-01 09:00:00.
class Model {
 public:
  virtual ~Model() = default;

  /// Carries out a step and returns the lines that must follow it.
  std::vector<std::string> Follow(const std::string& step);

  const std::vector<Service>& GetServices() const { return services_; }
  std::int64_t GetTime() const { return now_; }

 protected:
  // Rules that a test may get wrong on purpose.
  virtual std::uint32_t NextId() const;
  virtual bool HasRunOut(const Service& service) const;
  virtual void Cancel(Service& service) const { service.state = 0; }

 private:
  using Params = std::map<std::string, std::string>;
  using Services = std::vector<Service>;
  enum Level { kDebug, kInfo, kError, kOff };

  void OnCommand(const std::string& name, const Params& params);
  void Add(const Params& params);
  void EditGuestService(const std::string& text);
  void EditShortcut(const std::string& text);
  void Remove(std::uint32_t id);
  void RemoveProgramming(std::uint32_t item);
  void Reorder(const std::string& order);
  void SendRequest(std::uint32_t id, const std::string& requestCode);
  void SendCancel(std::uint32_t id);
  void Query(const std::string& name, const Params& params, bool dateAsText);

  void OnEvent(const host::Step& step);
  void Advance(std::int64_t seconds);
  void Sweep();
  void Restart(const host::Step& step);

  /// The first service with that id, or the end.
  Services::iterator Find(std::uint32_t id);
  Services::iterator FindGuestService(std::uint32_t id);
  std::string ListAsXml(bool dateAsText) const;

  // Lines
  void Say(const std::string& line) { lines_.push_back(line); }
  void SayVerbosely(const std::string& line);
  void Log(Level level, const std::string& text);
  void Answer(const std::string& xml);
  void Push(const std::string& name, const std::string& content);
  void PushId(const std::string& name, std::uint32_t id);
  void PushService(const std::string& name, const Service& service);
  void Bound(const std::string& name, std::uint32_t id);

  Services services_;
  std::int64_t now_ = 1709283600;  // seconds since 1970
  std::int64_t untilSweep_ = 30;
  bool hasProgramming_ = true;
  bool hasForwarder_ = false;
  bool isVerbose_ = false;
  Level level_ = kInfo;
  std::vector<std::string> lines_;
};

}  // namespace simulator
