#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/steady_timer.hpp>
#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "host/console/Console.h"
#include "host/live/LiveSession.h"
#include "host/web/Server.h"

namespace host {

/// The agent as in a property: on the real clock, with its state in a file, a console and a page.
/// All of it is one thread with one event loop, so that calls reach the agent one at a time.
class LiveHost {
 public:
  struct Options {
    LiveSession::Options session;
    std::string listen = "127.0.0.1:8080";  // "none" for no page
    std::vector<std::string> proxyNames;
  };

  /// Loads the plug-in, starts the agent and listens. Throws `std::exception`, which names the
  /// option or the file, where that fails.
  explicit LiveHost(const Options& options);

  /// Goes on until the console's input ends or a signal asks for the end, and saves the state then.
  /// Returns whether that succeeded. The agent and the library go with the object.
  bool Run();

 private:
  void Listen(const Options& options);
  void OnSignals();
  void OnConsoleLine(const std::string& line);
  void RunConsoleStep(const std::string& text);
  void OnClient(web::Client& client);
  void OnClientLine(web::Client& client, const std::string& line);

  /// Lets the agent have what is due, and tells what came of it.
  void CatchUp();
  /// Carries out a step of a client, or of the console where that is null.
  void RunStep(const std::string& text, bool isRequest, web::Client* client);
  void Reload(bool isNewToConsole);
  void ArmTimer();
  void TellTimeRegularly();

  /// Tells everybody of what happened, ...
  void Publish(const std::vector<std::string>& lines);
  void Tell(const std::string& text, bool onConsole);
  /// ... and of what has changed since this was last told.
  void PublishStatus();
  void TellTime();
  std::string GetClockLine() const;
  std::string GetHealthLine() const;

  boost::asio::io_context io_;
  LiveSession session_;
  const std::string pluginPath_;
  Console console_;
  std::shared_ptr<web::Server> server_;  // null without a page
  boost::asio::signal_set signals_;
  boost::asio::steady_timer due_;
  boost::asio::steady_timer clock_;

  std::deque<web::SharedLine> recent_;
  std::size_t recentSize_ = 0;
  std::string toldHealth_;
  std::size_t toldNotices_ = 0;
  std::int64_t toldTime_ = 0;    // to the pages, in seconds
  std::int64_t toldOffset_ = 0;  // of the agent's clock from the system's
};

}  // namespace host
