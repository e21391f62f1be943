#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/local/datagram_protocol.hpp>
#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <optional>
#include <string_view>

namespace host {

/// Notifies the service manager that started the process, by the protocol of sd_notify(3). Does
/// nothing if the process has no such manager.
class ServiceManager {
 public:
  /// Reads `NOTIFY_SOCKET`, `WATCHDOG_USEC` and `WATCHDOG_PID` from the environment. Throws
  /// `std::runtime_error` that names the variable whose value is wrong.
  explicit ServiceManager(boost::asio::io_context& io);

  /// Notifies that the service is ready. From then on notifies the watchdog from `io`'s run, twice
  /// in the period that the manager set.
  void NotifyReady();
  /// Notifies that the service is ending.
  void NotifyStopping();

 private:
  using Protocol = boost::asio::local::datagram_protocol;

  /// Never blocks. A failure is printed on the standard error.
  void Notify(std::string_view state);
  void NotifyWatchdog();

  Protocol::socket socket_;
  std::optional<Protocol::endpoint> manager_;
  std::chrono::microseconds watchdogPeriod_{0};  // 0 for no watchdog
  boost::asio::steady_timer watchdog_;
};

}  // namespace host
