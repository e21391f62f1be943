#include "platform/Logger.h"

#include <execinfo.h>
#include <log4cplus/appender.h>
#include <log4cplus/configurator.h>
#include <log4cplus/initializer.h>
#include <log4cplus/logger.h>
#include <log4cplus/loglevel.h>
#include <log4cplus/spi/loggingevent.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <utility>

#include "platform/IHost.h"

namespace qx {
namespace {

/// Hands the root logger's records to the host.
class HostAppender : public log4cplus::Appender {
 public:
  ~HostAppender() override { destructorImpl(); }

  void close() override { closed = true; }

 protected:
  void append(const log4cplus::spi::InternalLoggingEvent& event) override {
    IHost* host = GetCurrentHost();
    if (host == nullptr) return;
    const int level = event.getLogLevel();
    host->OnLogRecord({level, log4cplus::getLogLevelManager().toString(level), event.getMessage(),
                       event.getFile(), event.getLine(), event.getFunction()});
  }
};

/// Harmless when repeated.
void AttachHost() {
  const log4cplus::SharedAppenderPtr appender(new HostAppender);
  appender->setName("host");
  log4cplus::Logger root = log4cplus::Logger::getRoot();
  if (!root.getAppender(appender->getName())) root.addAppender(appender);
}

}  // namespace

bool Logger::hasBeenInitialized = false;

void Logger::initialize() {
  if (hasBeenInitialized) return;
  log4cplus::initialize();
  AttachHost();
  hasBeenInitialized = true;
}

void SetLogLevel(const std::string& name) {
  // Not log4cplus's own look-up, which complains of an unknown name on the standard error.
  static constexpr std::pair<const char*, log4cplus::LogLevel> kLevels[] = {
      {"TRACE", log4cplus::TRACE_LOG_LEVEL}, {"DEBUG", log4cplus::DEBUG_LOG_LEVEL},
      {"INFO", log4cplus::INFO_LOG_LEVEL},   {"WARN", log4cplus::WARN_LOG_LEVEL},
      {"ERROR", log4cplus::ERROR_LOG_LEVEL}, {"FATAL", log4cplus::FATAL_LOG_LEVEL},
      {"OFF", log4cplus::OFF_LOG_LEVEL},
  };
  const auto* const level = std::find_if(std::begin(kLevels), std::end(kLevels),
                                         [&](const auto& entry) { return name == entry.first; });
  if (level == std::end(kLevels)) throw std::invalid_argument("'" + name + "' is no log level");
  log4cplus::Logger::getRoot().setLogLevel(level->second);
}

std::string GetLogLevel() {
  return log4cplus::getLogLevelManager().toString(log4cplus::Logger::getRoot().getLogLevel());
}

void ConfigureLog(const std::string& path) {
  Logger::initialize();
  if (!std::ifstream(path)) {
    throw std::runtime_error(path + ": cannot read it: " + std::strerror(errno));
  }
  log4cplus::PropertyConfigurator(path).configure();  // may take the appenders away
  AttachHost();
}

void WriteHostError(const std::string& text) {
  Logger::initialize();
  IHost* const host = GetCurrentHost();
  SetCurrentHost(nullptr);
  log4cplus::Logger::getRoot().log(log4cplus::ERROR_LOG_LEVEL, text, "host");
  SetCurrentHost(host);
}

StackTrace::StackTrace() : frames_{}, size_(0) {
  size_ = static_cast<std::size_t>(backtrace(frames_.data(), static_cast<int>(frames_.size())));
}

void AssertWrite(const char* file, int line, const StackTrace& trace) {
  if (IHost* host = GetCurrentHost()) {
    host->OnAssertion(file, line, trace);
  } else {
    std::fprintf(stderr, "assertion failed at %s:%d\n", file, line);
  }
}

}  // namespace qx
