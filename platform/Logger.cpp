#include "platform/Logger.h"

#include <execinfo.h>
#include <log4cplus/appender.h>
#include <log4cplus/initializer.h>
#include <log4cplus/logger.h>
#include <log4cplus/loglevel.h>
#include <log4cplus/spi/loggingevent.h>

#include <cstdio>
#include <stdexcept>
#include <string>

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

StackTrace::StackTrace() : frames_{}, size_(0) {
  size_ = static_cast<std::size_t>(backtrace(frames_.data(), static_cast<int>(frames_.size())));
}

std::size_t StackTrace::GetSize() const { return size_; }

const void* StackTrace::GetFrame(std::size_t index) const {
  if (index >= size_)
    throw std::out_of_range("the stack trace has no frame " + std::to_string(index));
  return frames_[index];
}

void AssertWrite(const char* file, int line, const StackTrace& trace) {
  if (IHost* host = GetCurrentHost()) {
    host->OnAssertion(file, line, trace);
  } else {
    std::fprintf(stderr, "assertion failed at %s:%d\n", file, line);
  }
}

}  // namespace qx
