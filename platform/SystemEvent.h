#pragma once

#include "platform/Types.h"

namespace qx {

/// What comes with a system event: at least its code. Plug-ins get the class by reference and never
/// copy it.
class PLATFORM_API SystemEventData {
 public:
  using Code = ARBITER_EVENT__<unsigned int>::enum_type;

  explicit SystemEventData(Code code);
  virtual ~SystemEventData();
  SystemEventData(const SystemEventData&) = delete;
  SystemEventData& operator=(const SystemEventData&) = delete;

  Code GetCode() const;

 private:
  Code code_;
};

/// Event data with four values. The layer defines the one instance below and no other.
template <typename First, typename Second, typename Third, typename Fourth>
class SystemEventData4 : public SystemEventData {
 public:
  SystemEventData4(Code code, First first, Second second, Third third, Fourth fourth);
  ~SystemEventData4() override;
  SystemEventData4(const SystemEventData4&) = delete;
  SystemEventData4& operator=(const SystemEventData4&) = delete;

  First GetFirst() const;
  Second GetSecond() const;
  Third GetThird() const;
  Fourth GetFourth() const;

 private:
  First first_;
  Second second_;
  Third third_;
  Fourth fourth_;
};

// The host and its plug-ins share this instance, so a downcast works across the library boundary.
extern template class PLATFORM_API
    SystemEventData4<unsigned int, unsigned int, ItemType, unsigned int>;

namespace response {

/// The response channel that comes with a system event or a user-interface request. It has no
/// operations here.
class PLATFORM_API IResponse {
 public:
  virtual ~IResponse();
};

}  // namespace response
}  // namespace qx

/// Receives system events. [host call]
class PLATFORM_API ISystemEventCallback {
 public:
  virtual ~ISystemEventCallback();

  /// Called for each event that the listener is registered for. `data` belongs to the host and is
  /// valid during the call; it may be null.
  virtual void OnSystemEvent(const qx::response::IResponse& response,
                             const qx::SystemEventData* data) = 0;
};
