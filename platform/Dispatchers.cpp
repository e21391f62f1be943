#include "platform/Dispatchers.h"

#include <utility>

namespace {

template <typename Handler>
void Register(std::map<std::string, Handler>& handlers, const std::string& name, Handler handler) {
  if (!handlers.emplace(name, std::move(handler)).second) {
    throw std::logic_error("command " + name + " is registered already");
  }
}

template <typename Handler>
const Handler& Find(const std::map<std::string, Handler>& handlers, const std::string& name) {
  const auto found = handlers.find(name);
  if (found == handlers.end()) throw qx::UnknownCommand(name);
  return found->second;
}

}  // namespace

qx::UnknownCommand::UnknownCommand(const std::string& name)
    : std::runtime_error("nothing is registered for " + name) {}

CmdDispatcher::CmdDispatcher() = default;

CmdDispatcher::~CmdDispatcher() = default;

void CmdDispatcher::RegisterCmd1(const std::string& name, Handler1 handler) {
  RegisterCmd2(name, [handler = std::move(handler)](const ICmdMessage& message, ICmdReturn*) {
    handler(message);
  });
}

void CmdDispatcher::RegisterCmd2(const std::string& name, Handler2 handler) {
  Register(handlers_, name, std::move(handler));
}

void CmdDispatcher::Dispatch(const ICmdMessage& message, ICmdReturn* answer) const {
  Find(handlers_, message.GetName())(message, answer);
}

UICmdDispatcher::UICmdDispatcher() = default;

UICmdDispatcher::~UICmdDispatcher() = default;

void UICmdDispatcher::RegisterUICmd(const std::string& name, Handler handler) {
  Register(handlers_, name, std::move(handler));
}

boost::shared_ptr<qx::XmlNode> UICmdDispatcher::Dispatch(const ICmdMessage& message) const {
  return Find(handlers_, message.GetName())(message);
}
