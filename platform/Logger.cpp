#include "platform/Logger.h"

#include <execinfo.h>
#include <log4cplus/appender.h>
#include <log4cplus/initializer.h>
#include <log4cplus/logger.h>
#include <log4cplus/loglevel.h>
#include <log4cplus/spi/loggingevent.h>

#include <cstdio>
#include <stdexcept>

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

}  // namespace

bool Logger::hasBeenInitialized = false;

void Logger::initialize() {
  if (hasBeenInitialized) return;
  log4cplus::initialize();
  log4cplus::Logger::getRoot().addAppender(log4cplus::SharedAppenderPtr(new HostAppender));
  hasBeenInitialized = true;
}

void SetLogLevel(const std::string& name) {
  const log4cplus::LogLevel level = log4cplus::getLogLevelManager().fromString(name);
  if (level == log4cplus::NOT_SET_LOG_LEVEL) {
    throw std::invalid_argument("'" + name + "' is no log level");
  }
  log4cplus::Logger::getRoot().setLogLevel(level);
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
