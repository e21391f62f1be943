#pragma once

// Ids, enumerations and the calling contexts that the layer's comments use.
//
// Calling contexts:
// - [host call]: called by the host on the driver, one call at a time, none during or after the
//   driver's destruction.
// - [call out]: called by the driver from inside a host call. The host may call the driver back
//   before it returns; what it throws passes through the driver.
// - [any time]: whenever the objects are alive, but not from two threads at once. A declaration
//   that names no context is [any time].

#define PLATFORM_API __attribute__((visibility("default")))

namespace ID {
using Timer = unsigned int;
using Item = unsigned int;
}  // namespace ID

// The host's enumerations. What their values mean is the host's; a driver passes fixed ones.
enum class QxDriverType : int {};
enum class DriverMultiplicity : int {};
enum class BindingType : int {};
enum class CI_OWNER_ID_TYPE : int {};
enum class ItemType : int {};

/// The codes of system events.
template <typename Integer>
struct ARBITER_EVENT__ {
  enum enum_type : Integer {};
};
