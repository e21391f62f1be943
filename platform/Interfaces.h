#pragma once

#include <string>

#include "platform/Types.h"

/// The host's registry of named interface instances. It belongs to the host and outlives the
/// drivers that get it. It does not own the instances: each belongs to the component that
/// registered it, which withdraws it before the instance dies. An instance is a pointer to the
/// interface's class, converted to `void*`. [call out]
class PLATFORM_API IInstanceManager {
 public:
  virtual ~IInstanceManager();

  /// Looks up the instance registered under `id`. A negative result means that there is none, and
  /// `*instance` is untouched; otherwise `*instance` receives it. A driver keeps it for the present
  /// host call at most, since it may be withdrawn later.
  virtual int GetInterface(const char* id, void** instance) = 0;
  /// Registers `instance` under `id`, in place of an earlier one. Copies `id`. May throw; nothing
  /// is registered then.
  virtual void RegisterInterface(const char* id, void* instance) = 0;
  /// Withdraws the registration under `id`; harmless if there is none.
  virtual void UnregisterInterface(const char* id) = 0;
};

/// Registered by the host under "{6F063745-6325-4F53-89D7-FFE5ED4CC1B0}", and owned by it. Both
/// operations are harmless if there is no such programming; what they throw passes through the
/// driver. `deviceId` is `QxBaseDriver::GetDeviceId()`. [call out]
class PLATFORM_API IProgrammingManager {
 public:
  virtual ~IProgrammingManager();

  /// Removes the programming of `item` that belongs to that owner type.
  virtual void RemoveOwnedProgramming(unsigned int deviceId, ID::Item item,
                                      CI_OWNER_ID_TYPE ownerType) = 0;
  /// Removes the programming that refers to `item`.
  virtual void RemoveItemProgramming(unsigned int deviceId, ID::Item item) = 0;
};

/// May be registered under "DE920BA0-5A01-463e-A089-E01E8F55AA77" by another component of the
/// host, which owns it. [call out]
class PLATFORM_API IRequestForwarder {
 public:
  virtual ~IRequestForwarder();

  /// Receives the request code of a service that a guest requested, never "", and the name of the
  /// agent. What it throws passes through the driver.
  virtual void ForwardRequest(const std::string& source, const std::string& requestCode) = 0;
};
