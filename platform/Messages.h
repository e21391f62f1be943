#pragma once

#include <string>
#include <vector>

#include "platform/Types.h"

/// A command that the host received: a name and named parameters. Owned by the host; valid during
/// the host call that hands it over. [any time]
class PLATFORM_API ICmdMessage {
 public:
  virtual ~ICmdMessage();

  /// The value of parameter `name`; "" when it is absent. `GetParamText` gives the same.
  virtual std::string GetParam(const std::string& name) const = 0;
  virtual std::string GetParamText(const std::string& name) const = 0;
  /// The value as a number, read as `qx::ToInt` reads it; 0 when the parameter is absent.
  virtual int GetParamInt(const std::string& name) const = 0;
  /// The command's name; valid as long as the message.
  virtual const std::string& GetName() const = 0;
};

/// Receives the answer of a command. Belongs to the host and is valid during the host call that
/// hands it over; a driver only passes it on. What it throws passes through the driver. [call out]
class PLATFORM_API ICmdReturn {
 public:
  virtual ~ICmdReturn();

  /// Stores the answer, in place of an earlier one.
  virtual void SetValue(const std::string& value) = 0;
};

/// A bound call: a call name and typed, named parameters, for the devices on a binding. The driver
/// makes it with `QxBaseDriver::CreateBindMessage`, fills and sends it; a host that needs it after
/// `IHost::SendBoundCall` copies what it needs. Setters throw `std::bad_alloc` only. [any time]
class PLATFORM_API IBindMessage {
 public:
  struct Param {
    std::string name;
    std::string type;  // "INT"
    unsigned int value;
  };

  virtual ~IBindMessage();

  /// Sets the name of the call, in place of an earlier one. The host defines what `kind` means.
  virtual void SetCommand(int kind, const std::string& name) = 0;
  /// Appends a parameter, also one of a name that is there already.
  virtual void AddParam(const std::string& name, const std::string& type, unsigned int value) = 0;

  // What was set: 0, "" and no parameters in a new message. References are valid until a change.
  virtual int GetKind() const = 0;
  virtual const std::string& GetCommand() const = 0;
  virtual const std::vector<Param>& GetParams() const = 0;
};
