#include "host/ServiceManager.h"

#include <unistd.h>

#include <boost/asio/buffer.hpp>
#include <boost/lexical_cast/try_lexical_convert.hpp>
#include <cstdlib>
#include <iostream>
#include <stdexcept>
#include <string>

namespace host {
namespace {

namespace asio = boost::asio;

std::string GetVariable(const char* name) {
  const char* const value = std::getenv(name);
  return value == nullptr ? "" : value;
}

/// The watchdog's period; 0 if there is none, or if it watches another process.
std::chrono::microseconds GetWatchdogPeriod() {
  const std::string period = GetVariable("WATCHDOG_USEC");
  const std::string process = GetVariable("WATCHDOG_PID");
  if (period.empty() || (!process.empty() && process != std::to_string(getpid()))) {
    return std::chrono::microseconds(0);
  }
  std::chrono::microseconds::rep value = 0;
  if (!boost::conversion::try_lexical_convert(period, value) || value <= 0) {
    throw std::runtime_error("WATCHDOG_USEC: " + period + " is no number of microseconds");
  }
  return std::chrono::microseconds(value);
}

}  // namespace

ServiceManager::ServiceManager(asio::io_context& io)
    : socket_(io), watchdogPeriod_(GetWatchdogPeriod()), watchdog_(io) {
  std::string path = GetVariable("NOTIFY_SOCKET");
  if (path.empty()) return;
  if (path.front() == '@') path.front() = '\0';  // a name of the abstract namespace
  try {
    manager_.emplace(path);
    socket_.open(manager_->protocol());
    socket_.non_blocking(true);
  } catch (const boost::system::system_error& error) {
    throw std::runtime_error(std::string("NOTIFY_SOCKET: ") + error.what());
  }
}

void ServiceManager::NotifyReady() {
  Notify("READY=1");
  if (manager_ && watchdogPeriod_.count() > 0) NotifyWatchdog();
}

void ServiceManager::NotifyStopping() { Notify("STOPPING=1"); }

void ServiceManager::Notify(std::string_view state) {
  if (!manager_) return;
  boost::system::error_code error;
  socket_.send_to(asio::buffer(state.data(), state.size()), *manager_, 0, error);
  if (error) std::cerr << "error: cannot notify the service manager: " << error.message() << '\n';
}

void ServiceManager::NotifyWatchdog() {
  Notify("WATCHDOG=1");
  watchdog_.expires_after(watchdogPeriod_ / 2);
  watchdog_.async_wait([this](const boost::system::error_code& error) {
    if (!error) NotifyWatchdog();
  });
}

}  // namespace host
