#pragma once

#include "platform/Types.h"

namespace qx {

/// What comes with a system event: at least its code.
class PLATFORM_API SystemEventData {
 public:
  using Code = ARBITER_EVENT__<unsigned int>::enum_type;

  explicit SystemEventData(Code code) : code_(code) {}
  virtual ~SystemEventData();

  Code GetCode() const { return code_; }

 private:
  Code code_;
};

/// Event data with four values.
template <typename First, typename Second, typename Third, typename Fourth>
class SystemEventData4 : public SystemEventData {
 public:
  SystemEventData4(Code code, First first, Second second, Third third, Fourth fourth)
      : SystemEventData(code), first_(first), second_(second), third_(third), fourth_(fourth) {}

  First GetFirst() const { return first_; }
  Second GetSecond() const { return second_; }
  Third GetThird() const { return third_; }
  Fourth GetFourth() const { return fourth_; }

 private:
  First first_;
  Second second_;
  Third third_;
  Fourth fourth_;
};

// One instance for host and plug-ins, so that a downcast works across the library boundary.
extern template class PLATFORM_API
    SystemEventData4<unsigned int, unsigned int, ItemType, unsigned int>;

namespace response {

/// The response channel that is passed along with a system event.
class PLATFORM_API IResponse {
 public:
  virtual ~IResponse();
};

}  // namespace response
}  // namespace qx

/// Hears of system events. [host call]
class PLATFORM_API ISystemEventCallback {
 public:
  virtual ~ISystemEventCallback();

  /// `data` belongs to the host and is valid during the call; it may be null.
  virtual void OnSystemEvent(const qx::response::IResponse& response,
                             const qx::SystemEventData* data) = 0;
};
