#include "platform/HostLog.h"

#include <log4cplus/appender.h>
#include <log4cplus/configurator.h>
#include <log4cplus/logger.h>
#include <log4cplus/loglevel.h>
#include <log4cplus/spi/loggingevent.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "platform/IHost.h"
#include "platform/Logger.h"
#include "platform/xml/Utf8.h"

namespace qx {
namespace {

/// Passes records on with their text as one line: a line end in a name cannot forge a record.
class OneLineAppender : public log4cplus::Appender {
 public:
  explicit OneLineAppender(const log4cplus::SharedAppenderPtr& next) : next_(next) {
    setName(next->getName());
  }
  ~OneLineAppender() override { destructorImpl(); }

  void close() override {
    next_->close();
    closed = true;
  }

 protected:
  void append(const log4cplus::spi::InternalLoggingEvent& event) override {
    next_->doAppend({event.getLoggerName(), event.getLogLevel(), event.getNDC(), event.getMDCCopy(),
                     ToPrintable(event.getMessage()), event.getThread(), event.getThread2(),
                     event.getTimestamp(), event.getFile(), event.getLine(), event.getFunction()});
  }

 private:
  const log4cplus::SharedAppenderPtr next_;
};

}  // namespace

void SetLogLevel(const std::string& name) {
  // log4cplus complains of an unknown name on the standard error.
  const bool isKnown =
      std::find(std::begin(kLogLevels), std::end(kLogLevels), name) != std::end(kLogLevels);
  if (!isKnown) throw std::invalid_argument("'" + name + "' is no log level");
  log4cplus::Logger::getRoot().setLogLevel(log4cplus::getLogLevelManager().fromString(name));
}

std::string GetLogLevel() {
  return log4cplus::getLogLevelManager().toString(log4cplus::Logger::getRoot().getLogLevel());
}

void ConfigureLog(const std::string& path) {
  Logger::initialize();
  if (!std::ifstream(path)) {
    throw std::runtime_error(path + ": cannot read it: " + std::strerror(errno));
  }
  log4cplus::Logger root = log4cplus::Logger::getRoot();
  root.removeAllAppenders();
  log4cplus::PropertyConfigurator(path).configure();
  const log4cplus::SharedAppenderPtrList appenders = root.getAllAppenders();
  root.removeAllAppenders();
  for (const auto& appender : appenders) {
    root.addAppender(log4cplus::SharedAppenderPtr(new OneLineAppender(appender)));
  }
  Logger::hasBeenInitialized = false;
  Logger::initialize();
}

void WriteHostError(const std::string& text) {
  Logger::initialize();
  struct WithoutHost {
    WithoutHost() { SetCurrentHost(nullptr); }
    ~WithoutHost() { SetCurrentHost(host); }
    IHost* const host = GetCurrentHost();
  } const withoutHost;
  log4cplus::Logger::getRoot().log(log4cplus::ERROR_LOG_LEVEL, text, "host");
}

}  // namespace qx
