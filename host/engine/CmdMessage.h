#pragma once

#include <map>
#include <optional>
#include <string>
#include <utility>

#include "platform/Messages.h"
#include "platform/xml/XmlNode.h"

namespace host {

/// A command with its parameters.
class CmdMessage : public ICmdMessage {
 public:
  using Params = std::map<std::string, std::string>;

  CmdMessage(std::string name, Params params)
      : name_(std::move(name)), params_(std::move(params)) {}

  std::string GetParam(const std::string& name) const override {
    const auto found = params_.find(name);
    return found != params_.end() ? found->second : std::string();
  }
  std::string GetParamText(const std::string& name) const override { return GetParam(name); }
  int GetParamInt(const std::string& name) const override {
    const auto found = params_.find(name);
    return found != params_.end() ? qx::ToInt(found->second.c_str()) : 0;
  }
  const std::string& GetName() const override { return name_; }

 private:
  std::string name_;
  Params params_;
};

/// Holds the answer of a command.
class CmdReturn : public ICmdReturn {
 public:
  void SetValue(const std::string& value) override { value_ = value; }

  /// Empty if the command set no answer.
  const std::optional<std::string>& GetValue() const { return value_; }

 private:
  std::optional<std::string> value_;
};

}  // namespace host
