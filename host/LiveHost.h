#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/steady_timer.hpp>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/LiveFeed.h"
#include "host/ServiceManager.h"
#include "host/console/Console.h"
#include "host/live/LiveSession.h"
#include "host/web/Server.h"

namespace host {

/// The event loop of a live session: one thread brings the lines of the console and the pages,
/// signals and timers to the session one at a time.
class LiveHost {
 public:
  struct Options {
    LiveSession::Options session;
    std::string listen = "127.0.0.1:8080";  // "none" for no pages
    std::vector<std::string> proxyNames;
    bool isService = false;  // no console; the service manager is notified
  };

  /// Loads the plug-in, starts the agent and listens. Throws `std::exception` that names the option
  /// or the file.
  explicit LiveHost(const Options& options);

  /// Runs until the console's input ends, or until SIGINT or SIGTERM, and saves the state. Notifies
  /// the service manager when it is ready and when it ends. Returns
  /// whether the state is saved. Without pages, the host also ends when the reader of its output is
  /// gone. Then throws `std::runtime_error` if a part of the output could not be written. The agent
  /// lives until the object is destroyed.
  bool Run();

 private:
  void Listen(const Options& options);
  /// The reply to a health check: 200, or 503 with a reason that names no file.
  web::Text GetHealth();
  /// Runs until `io_` is stopped, also when memory runs out.
  void RunLoop();
  void AwaitSignal();
  void OnSignal(int signal);
  void Stop();
  void OnOutputFailed(const std::string& reason);
  void ArmTimer();
  void ArmClock();

  void OnConsoleLine(const std::string& line);
  bool OnPageLine(web::Client& page, const std::string& line);
  /// Parses a line and carries it out. `page` is its sender, null for the console. Returns false if
  /// it is a page's query and the pages' queues are long.
  bool RunLine(const std::string& line, web::Client* page);
  void RunQuery(const Step& step, web::Client* page);
  /// `page` is null for the console and for a signal, which has no `sender`.
  void RunAction(const Step& step, std::optional<Sender> sender, web::Client* page);
  /// Sends a step and its lines to the page, or its lines to the console if `page` is null. A page
  /// that does not hear session lines gets answers and errors alone.
  void Reply(const std::string& step, web::Client* page, const std::vector<std::string>& lines);

  /// Advances the session to now, and sends the lines of that.
  void CatchUp();

  boost::asio::io_context io_;
  LiveSession session_;
  Console console_;
  LiveFeed feed_;
  std::shared_ptr<web::Server> server_;  // null without pages
  ServiceManager manager_;
  boost::asio::signal_set signals_;
  boost::asio::steady_timer due_;    // the agent's next timer expiry
  boost::asio::steady_timer clock_;  // the next clock line to the pages
};

}  // namespace host
