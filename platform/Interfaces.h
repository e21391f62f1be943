#pragma once

#include <string>

#include "platform/Types.h"

/// The host's registry of named interface instances. It does not own the instances. [call out]
class PLATFORM_API IInstanceManager {
 public:
  virtual ~IInstanceManager();

  /// Looks up the instance registered under `id`. A negative result means that there is none, and
  /// `*instance` is untouched; otherwise `*instance` receives it.
  virtual int GetInterface(const char* id, void** instance) = 0;
  /// Registers `instance` under `id`, in place of an earlier one.
  virtual void RegisterInterface(const char* id, void* instance) = 0;
  /// Withdraws the registration under `id`; harmless if there is none.
  virtual void UnregisterInterface(const char* id) = 0;
};

/// Registered by the host under "{6F063745-6325-4F53-89D7-FFE5ED4CC1B0}". [call out]
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
/// host. [call out]
class PLATFORM_API IRequestForwarder {
 public:
  virtual ~IRequestForwarder();

  /// Receives the request code of a service that a guest requested, and the name of the agent.
  virtual void ForwardRequest(const std::string& source, const std::string& requestCode) = 0;
};
