#pragma once

#include <string>

#include "services/CompactText.h"
#include "services/GuestServiceBase.h"

enum ServiceState : int { STATE_NOT_REQUESTED = 0, STATE_REQUESTED = 1 };

/// A service that guests can request.
class GuestService : public GuestServiceBase {
 public:
  /// The `delay` of a service whose requests never lapse.
  static constexpr int NEVER_LAPSES = -1;

  GuestService() = default;
  GuestService(unsigned int serviceId, const std::string& serviceName,
               const std::string& serviceDescription, int iconNumber, int delayMinutes,
               const std::string& requestCode);

  void FromString(const std::string& text) override { ReadText(text); }
  void FromXml(const boost::shared_ptr<qx::XmlNode>& element) override;
  boost::shared_ptr<qx::XmlNode> ToXml(bool dateTimeAsText) const override;

  /// `request_time` as MM/DD/YYYY HH:MM:SS.
  std::string GetRequestTimeString() const;

  // This order avoids padding.
  int icon = 0;
  int delay = 0;  // minutes that a request stays open
  int state = STATE_NOT_REQUESTED;
  CompactText name;
  CompactText description;
  CompactText operarequest;
  QxTime request_time;  // of the last request
};
