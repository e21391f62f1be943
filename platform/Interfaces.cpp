// The interfaces' destructors and type information, once for the host and its plug-ins.
#include "platform/Interfaces.h"

#include "platform/IHost.h"

ICmdMessage::~ICmdMessage() = default;
ICmdReturn::~ICmdReturn() = default;
IBindMessage::~IBindMessage() = default;
IInstanceManager::~IInstanceManager() = default;
IProgrammingManager::~IProgrammingManager() = default;
IRequestForwarder::~IRequestForwarder() = default;
ISystemEventCallback::~ISystemEventCallback() = default;

namespace qx {

IHost::~IHost() = default;
SystemEventData::~SystemEventData() = default;
template class SystemEventData4<unsigned int, unsigned int, ItemType, unsigned int>;

namespace response {
IResponse::~IResponse() = default;
}  // namespace response

namespace {
IHost* currentHost = nullptr;
}  // namespace

IHost* GetCurrentHost() { return currentHost; }

void SetCurrentHost(IHost* host) { currentHost = host; }

}  // namespace qx
