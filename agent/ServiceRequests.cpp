// The guests' requests: request, cancellation, and lapse in the periodic sweep.
#include <cstdint>

#include "agent/Log.h"
#include "agent/ServicesAgent.h"

namespace {

constexpr const char* REQUEST_FORWARDER_INTERFACE_ID = "DE920BA0-5A01-463e-A089-E01E8F55AA77";
constexpr const char* kRequestSource = "Builtin_GuestService";

std::int64_t Now() { return QxTime::GetCurrentTime().GetTime(); }

bool HasRunOut(const GuestService& service, std::int64_t now) {
  if (service.delay == GuestService::NEVER_LAPSES || service.state != STATE_REQUESTED) return false;
  constexpr std::int64_t kSecondsPerMinute = 60;
  return now >= service.request_time.GetTime() + kSecondsPerMinute * service.delay;
}

std::string EventText(const char* what, const GuestService& service, unsigned int event) {
  return std::string(what) + std::string(service.name) + " eventid: " + std::to_string(event);
}

}  // namespace

void ServicesAgent::OnCmdSendRequestEvent(const ICmdMessage& message) {
  const auto id = static_cast<unsigned int>(message.GetParamInt("id"));
  const std::string requestCode = message.GetParam("operarequest");
  const int index = FindServiceIndex(id);
  auto service = GetGuestServiceAt(index);
  if (!service || service->state == STATE_REQUESTED) return;
  SendIdNotice("service_state_requested", id);
  AGENT_LOG(log4cplus::INFO_LOG_LEVEL, EventText("sent request event for: ", *service, id));
  // A re-entrant command may have edited, removed or requested the service.
  service = GetGuestServiceAt(FindServiceIndexAgain(id, index));
  if (!service || service->state == STATE_REQUESTED) return;
  service->state = STATE_REQUESTED;
  service->request_time = QxTime(Now());
  FireEvent(id);
  SendBoundNotice("SERVICE_STATE_REQUESTED", id);
  ForwardRequest(requestCode);
}

void ServicesAgent::ForwardRequest(const std::string& requestCode) {
  void* instance = nullptr;
  const int found = GetInstanceManager().GetInterface(REQUEST_FORWARDER_INTERFACE_ID, &instance);
  if (found < 0 || instance == nullptr || requestCode.empty()) return;
  static_cast<IRequestForwarder*>(instance)->ForwardRequest(kRequestSource, requestCode);
}

void ServicesAgent::OnCmdSendCancelEvent(const ICmdMessage& message) {
  const auto id = static_cast<unsigned int>(message.GetParamInt("id"));
  const int index = FindServiceIndex(id);
  auto service = GetGuestServiceAt(index);
  if (!service || service->state != STATE_REQUESTED) return;
  const unsigned int event = id + kCancelEventOffset;
  SendIdNotice("service_state_canceled", id);
  AGENT_LOG(log4cplus::INFO_LOG_LEVEL, EventText("sent cancel event for: ", *service, event));
  service = GetGuestServiceAt(FindServiceIndexAgain(id, index));  // re-entrant commands
  if (!service || service->state != STATE_REQUESTED) return;
  service->state = STATE_NOT_REQUESTED;
  FireEvent(event);
  SendBoundNotice("SERVICE_STATE_CANCELED", id);
}

void ServicesAgent::OnTimerExpired(ID::Timer, time_t) {
  try {
    AGENT_LOG(log4cplus::DEBUG_LOG_LEVEL, "ServicesAgent::OnTimerExpired");
    std::int64_t now = Now();
    // By index: a re-entrant command may change the list, which would leave an iterator dangling.
    for (std::size_t i = 0; i < services_.size(); ++i) {
      const auto* const candidate = dynamic_cast<const GuestService*>(services_[i].get());
      if (candidate == nullptr || !HasRunOut(*candidate, now)) continue;
      // An owning pointer: a re-entrant removal must not cause a use-after-free.
      const auto service = boost::static_pointer_cast<GuestService>(services_[i]);
      service->state = STATE_NOT_REQUESTED;
      SendIdNotice("service_state_not_requested", service->id);
      AGENT_LOG(log4cplus::INFO_LOG_LEVEL,
                "Timer Expired on " + std::string(service->name) + " state changed.");
      SendBoundNotice("SERVICE_STATE_NOT_REQUESTED", service->id);
      now = Now();
    }
  } catch (...) {
    ArmTimer();  // without it no request would ever lapse again
    throw;
  }
  ArmTimer();
}
