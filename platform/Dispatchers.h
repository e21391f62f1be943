#pragma once

#include <boost/function.hpp>
#include <boost/shared_ptr.hpp>
#include <map>
#include <stdexcept>
#include <string>

#include "platform/Messages.h"
#include "platform/xml/XmlNode.h"

namespace qx {

/// No handler is registered for a command.
class PLATFORM_API UnknownCommand : public std::runtime_error {
 public:
  explicit UnknownCommand(const std::string& name);
};

}  // namespace qx

/// A driver's table from command name to handler, for ordinary commands. A name can be registered
/// once; a second registration throws `std::logic_error`.
class PLATFORM_API CmdDispatcher {
 public:
  using Handler1 = boost::function<void(const ICmdMessage&)>;
  using Handler2 = boost::function<void(const ICmdMessage&, ICmdReturn*)>;

  CmdDispatcher();
  ~CmdDispatcher();
  CmdDispatcher(const CmdDispatcher&) = delete;
  CmdDispatcher& operator=(const CmdDispatcher&) = delete;

  /// Registers a command without return object.
  void RegisterCmd1(const std::string& name, Handler1 handler);
  /// Registers a command with return object.
  void RegisterCmd2(const std::string& name, Handler2 handler);

  /// Calls the handler of the message's name. Throws `qx::UnknownCommand` when there is none.
  void Dispatch(const ICmdMessage& message, ICmdReturn* answer) const;

 private:
  std::map<std::string, Handler2> handlers_;
};

/// A driver's table from command name to handler, for user-interface requests. A handler returns
/// the element that answers the request. A name can be registered once; a second registration
/// throws `std::logic_error`.
class PLATFORM_API UICmdDispatcher {
 public:
  using Handler = boost::function<boost::shared_ptr<qx::XmlNode>(const ICmdMessage&)>;

  UICmdDispatcher();
  ~UICmdDispatcher();
  UICmdDispatcher(const UICmdDispatcher&) = delete;
  UICmdDispatcher& operator=(const UICmdDispatcher&) = delete;

  void RegisterUICmd(const std::string& name, Handler handler);

  /// Calls the handler of the message's name and returns its answer. Throws `qx::UnknownCommand`
  /// when there is none.
  boost::shared_ptr<qx::XmlNode> Dispatch(const ICmdMessage& message) const;

 private:
  std::map<std::string, Handler> handlers_;
};
