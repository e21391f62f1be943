// The interfaces' destructors and type information, once for the host and its plug-ins.
#include "platform/Interfaces.h"

#include "platform/IHost.h"

ICmdMessage::~ICmdMessage() = default;
ICmdReturn::~ICmdReturn() = default;
IBindMessage::~IBindMessage() = default;
IInstanceManager::~IInstanceManager() = default;
IProgrammingManager::~IProgrammingManager() = default;
IRequestForwarder::~IRequestForwarder() = default;

namespace qx {

IHost::~IHost() = default;

namespace {
IHost* currentHost = nullptr;
}  // namespace

IHost* GetCurrentHost() { return currentHost; }

void SetCurrentHost(IHost* host) { currentHost = host; }

}  // namespace qx
