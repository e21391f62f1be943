#include "host/LiveFeed.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <utility>

#include "host/engine/Clock.h"
#include "host/session/Transcript.h"
#include "platform/QxTime.h"

namespace host {
namespace {

constexpr std::size_t kMostRecentLines = 500;
constexpr std::size_t kMostRecentSize = std::size_t{256} << 10;

std::string ClockLine(std::int64_t seconds) {
  return "! clock " + std::to_string(seconds) + ' ' + std::to_string(qx::GetUtcOffset(seconds));
}

std::string NoticeLine(const std::string& notice) { return "! notice " + Quote(notice); }

std::string Describe(const StateHealth& health) {
  switch (health.kind) {
    case StateHealth::Kind::kNoFile:
      return "none";
    case StateHealth::Kind::kSaved:
      return "ok";
    default:
      return "failed: " + health.reason;
  }
}

}  // namespace

LiveFeed::LiveFeed(LiveSession& session, Console& console, std::string plugin)
    : session_(session),
      console_(console),
      plugin_(std::move(plugin)),
      sentHealth_(session.GetStateHealth()) {}

void LiveFeed::Greet(web::Client& page) {
  const std::int64_t now = session_.GetTime();
  std::int64_t sent = now;
  const auto sendClock = [&](std::int64_t seconds) {
    if (seconds != sent) page.Send(ClockLine(seconds));
    sent = seconds;
  };
  page.Send(ClockLine(now));
  page.Send(GetHealthLine());
  for (const std::string& notice : session_.GetNotices()) page.Send(NoticeLine(notice));
  for (const RecentLine& line : recent_) {
    sendClock(line.seconds);
    page.Send(line.text);
  }
  sendClock(now);
  page.Send("! replay-end");
}

void LiveFeed::SendStep(const std::string& text, bool isFromConsole) {
  const std::string line = "> " + text;
  if (!isFromConsole) console_.Print(line, Console::Cause::kOther);
  Send(line);
}

void LiveFeed::SendLines(const Lines& lines, bool isFromConsole) {
  const auto cause = isFromConsole ? Console::Cause::kConsole : Console::Cause::kOther;
  for (const std::string& line : lines) {
    console_.Print(line, cause);
    Send(line);
  }
}

void LiveFeed::SendStatus() {
  const auto send = [this](const std::string& line) {
    console_.Print(line);
    Broadcast(line);
  };
  const Lines& notices = session_.GetNotices();
  const std::size_t fresh = std::min(session_.GetNoticeCount() - sentNotices_, notices.size());
  for (std::size_t i = notices.size() - fresh; i < notices.size(); ++i)
    send(NoticeLine(notices[i]));
  sentNotices_ = session_.GetNoticeCount();
  if (session_.GetStateHealth() != sentHealth_) {
    sentHealth_ = session_.GetStateHealth();
    send(GetHealthLine());
  }
  const std::int64_t offset = session_.GetTime() - SystemClock().Wall() / 1000;
  if (std::abs(offset - sentOffset_) > 1) {
    sentOffset_ = offset;
    SendClock();
  }
}

void LiveFeed::SendNotice(const std::string& text) {
  const std::string line = NoticeLine(text);
  console_.Print(line);
  Broadcast(line);
}

void LiveFeed::SendClock() {
  sentTime_ = session_.GetTime();
  Broadcast(ClockLine(sentTime_));
}

void LiveFeed::Send(const std::string& text) {
  if (pages_ == nullptr) return;
  if (session_.GetTime() != sentTime_) SendClock();
  const auto line = std::make_shared<const std::string>(text);
  pages_->Broadcast(line);
  recent_.push_back({sentTime_, line});
  recentSize_ += text.size();
  while (recent_.size() > kMostRecentLines || recentSize_ > kMostRecentSize) {
    recentSize_ -= recent_.front().text->size();
    recent_.pop_front();
  }
}

void LiveFeed::Broadcast(const std::string& line) {
  if (pages_ != nullptr) pages_->Broadcast(line);
}

std::string LiveFeed::GetHealthLine() const {
  return "! health state=" + Quote(Describe(session_.GetStateHealth())) +
         " plugin=" + Quote(plugin_);
}

}  // namespace host
