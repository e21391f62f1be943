#include "host/live/StateKeeper.h"

#include <exception>
#include <utility>

#include "platform/HostLog.h"

namespace host {

StateKeeper::StateKeeper(const std::string& path, OnNotice onNotice)
    : onNotice_(std::move(onNotice)), health_{StateHealth::Kind::kNoFile, ""} {
  if (path.empty()) return;
  file_.emplace(path, onNotice_);
  health_.kind = StateHealth::Kind::kSaved;
}

bool StateKeeper::Restore(
    const std::function<std::optional<std::string>(const std::string& text)>& start) {
  if (!file_) return false;
  for (const std::string& path : {file_->GetPath(), file_->GetBackupPath()}) {
    const auto text = file_->Read(path);
    if (!text) continue;
    auto state = start(*text);
    if (!state) {
      refused_.push_back(path);
    } else if (path == file_->GetPath()) {
      saved_ = std::move(state);
      *saved_ += '\n';
      return true;
    } else {
      onNotice_("the state is that of the backup, " + path);
      return true;
    }
  }
  return false;
}

void StateKeeper::Save(const std::function<std::string()>& persist) {
  if (!file_) return;
  StateHealth health{StateHealth::Kind::kSaved, ""};
  try {
    std::string text = persist();
    text += '\n';
    file_->Lock();
    SetRefusedAside();
    if (saved_ != text || !file_->IsOurs()) {
      saved_.reset();
      file_->Save(text);
      saved_ = std::move(text);
    }
  } catch (const std::exception& error) {
    health = {StateHealth::Kind::kFailed, error.what()};
    if (health != health_) qx::WriteHostError("failed: " + health.reason);
  }
  health_ = std::move(health);
}

void StateKeeper::SetRefusedAside() {
  while (!refused_.empty()) {
    const std::string& path = refused_.front();
    onNotice_(path + " holds no readable state; it is now " + file_->SetAside(path));
    refused_.erase(refused_.begin());
  }
}

}  // namespace host
