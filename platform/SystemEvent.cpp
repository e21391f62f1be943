#include "platform/SystemEvent.h"

ISystemEventCallback::~ISystemEventCallback() = default;

namespace qx {

SystemEventData::SystemEventData(Code code) : code_(code) {}

SystemEventData::~SystemEventData() = default;

SystemEventData::Code SystemEventData::GetCode() const { return code_; }

template <typename First, typename Second, typename Third, typename Fourth>
SystemEventData4<First, Second, Third, Fourth>::SystemEventData4(Code code, First first,
                                                                 Second second, Third third,
                                                                 Fourth fourth)
    : SystemEventData(code), first_(first), second_(second), third_(third), fourth_(fourth) {}

template <typename First, typename Second, typename Third, typename Fourth>
SystemEventData4<First, Second, Third, Fourth>::~SystemEventData4() = default;

template <typename First, typename Second, typename Third, typename Fourth>
First SystemEventData4<First, Second, Third, Fourth>::GetFirst() const {
  return first_;
}

template <typename First, typename Second, typename Third, typename Fourth>
Second SystemEventData4<First, Second, Third, Fourth>::GetSecond() const {
  return second_;
}

template <typename First, typename Second, typename Third, typename Fourth>
Third SystemEventData4<First, Second, Third, Fourth>::GetThird() const {
  return third_;
}

template <typename First, typename Second, typename Third, typename Fourth>
Fourth SystemEventData4<First, Second, Third, Fourth>::GetFourth() const {
  return fourth_;
}

template class SystemEventData4<unsigned int, unsigned int, ItemType, unsigned int>;

namespace response {
IResponse::~IResponse() = default;
}  // namespace response

}  // namespace qx
