#include "host/LiveFeed.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
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

std::string FromLine(Sender sender) { return "! from " + std::string(GetName(sender)); }

std::string Describe(const StateHealth& health, bool hasReason) {
  switch (health.kind) {
    case StateHealth::Kind::kNoFile:
      return "none";
    case StateHealth::Kind::kSaved:
      return "ok";
    default:
      return hasReason ? "failed: " + health.reason : "failed";
  }
}

}  // namespace

LiveFeed::LiveFeed(LiveSession& session, Console& console, std::string plugin)
    : session_(session),
      console_(console),
      plugin_(std::move(plugin)),
      sentHealth_(session.GetStateHealth()) {}

Sender LiveFeed::GetRole(const web::Client& page) {
  const auto* const row =
      std::find_if(std::begin(kSenders), std::end(kSenders),
                   [&](const SenderRow& each) { return page.GetPath() == GetPath(each.sender); });
  return row->sender;
}

void LiveFeed::Greet(web::Client& page) {
  const Sender role = GetRole(page);
  const std::int64_t now = session_.GetTime();
  std::int64_t sent = now;
  const auto sendClock = [&](std::int64_t seconds) {
    if (seconds != sent) page.Send(ClockLine(seconds));
    sent = seconds;
  };
  page.Send(ClockLine(now));
  for (const Heard kind : {Heard::kHealth, Heard::kHealthWithPaths}) {
    if (Hears(role, kind)) page.Send(GetHealthLine(kind));
  }
  for (const std::string& notice : session_.GetNotices()) {
    if (Hears(role, Heard::kNotice)) page.Send(NoticeLine(notice));
  }
  for (const auto& [sender, line] : requests_.GetOpen()) {
    if (sender && Hears(role, Heard::kFromRequest)) page.Send(FromLine(*sender));
    if (Hears(role, Heard::kOpen)) page.Send(line);
  }
  for (const std::string& line : requests_.DescribeEnded(now)) {
    if (Hears(role, Heard::kEnded)) page.Send(line);
  }
  for (const RecentLine& line : recent_) {
    if (!Hears(role, line.kind)) continue;
    sendClock(line.seconds);
    page.Send(line.text);
  }
  sendClock(now);
  page.Send("! replay-end");
}

void LiveFeed::SendStep(const Step& step, std::optional<Sender> sender) {
  const std::string line = "> " + step.text;
  if (sender != Sender::kConsole) console_.Print(line, Console::Cause::kOther);
  if (sender) {
    Send(FromLine(*sender), step.row->IsRequest() ? Heard::kFromRequest : Heard::kFromOther);
  }
  Send(line, Heard::kSessionLine);
  if (!step.row->Restarts()) return;
  ReadRequests();
  Broadcast("! restarted", Heard::kRestarted);
  for (const auto& [sender, line] : requests_.GetOpen()) Broadcast(line, Heard::kOpen);
}

void LiveFeed::SendLines(const Lines& lines, std::optional<Sender> sender) {
  const auto cause = sender == Sender::kConsole ? Console::Cause::kConsole : Console::Cause::kOther;
  for (const std::string& line : lines) {
    console_.Print(line, cause);
    if (GetKind(line) == Heard::kPush) SendRequest(line, sender);
    Send(line, GetKind(line));
  }
}

void LiveFeed::SendRequest(const std::string& push, std::optional<Sender> sender) {
  const std::string line = requests_.Take(push, session_.GetTime(), sender);
  if (line.empty()) return;
  Broadcast(line, line.compare(0, 6, "! open") == 0 ? Heard::kOpen : Heard::kEnded);
}

void LiveFeed::SendStatus() {
  const Lines& notices = session_.GetNotices();
  const std::size_t fresh = std::min(session_.GetNoticeCount() - sentNotices_, notices.size());
  for (std::size_t i = notices.size() - fresh; i < notices.size(); ++i) SendNotice(notices[i]);
  sentNotices_ = session_.GetNoticeCount();
  if (session_.GetStateHealth() != sentHealth_) {
    sentHealth_ = session_.GetStateHealth();
    console_.Print(GetHealthLine(Heard::kHealthWithPaths));
    for (const Heard kind : {Heard::kHealth, Heard::kHealthWithPaths}) {
      Broadcast(GetHealthLine(kind), kind);
    }
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
  Broadcast(line, Heard::kNotice);
}

void LiveFeed::SendClock() {
  sentTime_ = session_.GetTime();
  Broadcast(ClockLine(sentTime_), Heard::kClock);
}

void LiveFeed::Send(const std::string& text, Heard kind) {
  if (pages_ == nullptr) return;
  if (session_.GetTime() != sentTime_) SendClock();
  const auto line = std::make_shared<const std::string>(text);
  Broadcast(line, kind);
  recent_.push_back({sentTime_, kind, line});
  recentSize_ += text.size();
  while (recent_.size() > kMostRecentLines || recentSize_ > kMostRecentSize) {
    recentSize_ -= recent_.front().text->size();
    recent_.pop_front();
  }
}

void LiveFeed::Broadcast(const web::SharedLine& line, Heard kind) {
  if (pages_ == nullptr) return;
  pages_->Broadcast(line, [&](const web::Client& page) { return Hears(GetRole(page), kind); });
}

void LiveFeed::Broadcast(const std::string& line, Heard kind) {
  Broadcast(std::make_shared<const std::string>(line), kind);
}

std::string LiveFeed::GetHealthLine(Heard kind) const {
  const bool hasPaths = kind == Heard::kHealthWithPaths;
  return "! health state=" + Quote(Describe(session_.GetStateHealth(), hasPaths)) +
         (hasPaths ? " plugin=" + Quote(plugin_) : "");
}

}  // namespace host
