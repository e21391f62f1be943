#include "host/LiveHost.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <sstream>
#include <stdexcept>

#include "host/PageFiles.h"
#include "host/session/Step.h"
#include "host/session/StepHelp.h"
#include "host/session/Transcript.h"

namespace host {
namespace {

namespace chrono = std::chrono;

constexpr std::size_t kMostRecentLines = 500;
constexpr std::size_t kMostRecentSize = std::size_t{256} << 10;
constexpr chrono::seconds kClockPeriod{10};

LiveSession::Moment Now() {
  const SystemClock clock;
  return {clock.Wall(), clock.Monotonic()};
}

/// Reads a line as a step. Throws `StepError`.
Step ParseLine(const std::string& line) {
  std::string visible = line;
  visible.erase(std::remove(visible.begin(), visible.end(), '\t'), visible.end());
  if (ToOneLine(visible) != visible) throw StepError("a step is one line of UTF-8 text");
  return ParseStep(line);
}

std::string ErrorLine(const std::exception& error) { return "error " + ToOneLine(error.what()); }

std::string UrlOf(const boost::asio::ip::tcp::endpoint& endpoint) {
  std::ostringstream text;
  text << "http://" << endpoint << '/';
  return text.str();
}

}  // namespace

LiveHost::LiveHost(const Options& options)
    : session_(options.session, Now),
      pluginPath_(options.session.plugin),
      console_(
          io_, [this](const std::string& line) { OnConsoleLine(line); }, [this] { io_.stop(); }),
      signals_(io_),
      due_(io_),
      clock_(io_),
      toldHealth_(session_.GetStateHealth()) {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGWINCH}) signals_.add(signal);
  if (options.listen != "none") Listen(options);
  const auto lines = session_.Start();
  PublishStatus();
  Publish(lines);
}

void LiveHost::Listen(const Options& options) {
  web::Site site;
  site.otherHostHint = "; --allow-host lets a proxy's name in";
  site.files = GetPageFiles();
  site.texts["/session.txt"] = [this] {
    CatchUp();
    return web::Text{"text/plain; charset=utf-8", session_.GetScenario()};
  };
  site.webSocketPaths = {"/ws"};
  site.handlers.onClient = [this](web::Client& client) { OnClient(client); };
  site.handlers.onLine = [this](web::Client& client, const std::string& line) {
    OnClientLine(client, line);
  };
  try {
    site.access = web::Access(options.proxyNames);
  } catch (const std::exception& error) {
    throw std::runtime_error(std::string("--allow-host ") + error.what());
  }
  try {
    server_ = std::make_shared<web::Server>(io_, web::ParseListen(options.listen), std::move(site));
  } catch (const std::exception& error) {
    throw std::runtime_error("--listen " + options.listen + ": " + error.what());
  }
}

bool LiveHost::Run() {
  if (server_) {
    server_->Start();
    console_.Print("! page " + UrlOf(server_->GetEndpoint()));
  }
  if (console_.IsTerminal()) console_.Print("help lists the steps, Ctrl-D ends the host");
  console_.Open();
  OnSignals();
  TellTimeRegularly();
  ArmTimer();
  io_.run();

  console_.Close();
  if (server_) server_->Close();
  session_.Save();
  PublishStatus();
  return session_.GetStateHealth().compare(0, 6, "failed") != 0;
}

void LiveHost::OnSignals() {
  signals_.async_wait([this](const boost::system::error_code& error, int signal) {
    if (error) return;
    if (signal == SIGINT || signal == SIGTERM) return io_.stop();
    if (signal == SIGWINCH) {
      console_.Resize();
    } else {
      CatchUp();
      Reload(true);
    }
    OnSignals();
  });
}

void LiveHost::OnConsoleLine(const std::string& line) {
  const std::string text = line.compare(0, 2, "> ") == 0 ? line.substr(2) : line;
  CatchUp();
  const bool isComment = text.empty() || text.front() == '#';
  if (!console_.IsTerminal()) console_.Print(isComment ? text : "> " + text);
  if (isComment) return;
  try {
    RunConsoleStep(text);
  } catch (const std::exception& error) {
    console_.Print(ErrorLine(error));
  }
}

void LiveHost::RunConsoleStep(const std::string& text) {
  const Step step = ParseLine(text);
  if (step.name == "help") {
    console_.Print(GetStepHelp());
  } else if (step.name == "reload") {
    Reload(false);
  } else if (step.name == "export") {
    if (step.words.size() != 1 || !step.words[0].key.empty()) throw StepError("usage: export FILE");
    session_.Export(step.words[0].value);
  } else {
    RunStep(text, step.name == "ui", nullptr);
  }
}

void LiveHost::OnClientLine(web::Client& client, const std::string& line) {
  CatchUp();
  try {
    const Step step = ParseLine(line);
    const bool isRequest = step.name == "ui";
    if (!isRequest && !Step::IsCommandName(step.name)) {
      throw StepError("only commands and ui requests are taken from here");
    }
    RunStep(line, isRequest, &client);
  } catch (const StepError& error) {
    client.Send("> " + ToOneLine(line));
    client.Send(ErrorLine(error));
  }
}

void LiveHost::OnClient(web::Client& client) {
  CatchUp();
  client.Send(GetClockLine());
  client.Send(GetHealthLine());
  for (const std::string& notice : session_.GetNotices()) client.Send("! notice " + Quote(notice));
  for (const web::SharedLine& line : recent_) client.Send(line);
  client.Send("! replay-end");
}

void LiveHost::CatchUp() {
  const auto lines = session_.CatchUp();
  PublishStatus();
  Publish(lines);
  ArmTimer();
}

void LiveHost::RunStep(const std::string& text, bool isRequest, web::Client* client) {
  // What a page asks for its own sake would drown what happened.
  const bool isRecorded = !isRequest || client == nullptr;
  const auto lines = session_.RunStep(text, isRecorded);
  PublishStatus();
  if (!isRequest) {
    Tell("> " + text, client != nullptr);
    Publish(lines);
  } else if (client != nullptr) {
    client->Send("> " + text);
    for (const std::string& line : lines) client->Send(line);
  } else {
    for (const std::string& line : lines) console_.Print(line);
  }
  ArmTimer();
}

void LiveHost::Reload(bool isNewToConsole) {
  const auto lines = session_.Reload();
  PublishStatus();
  Tell("> reload", isNewToConsole);
  Publish(lines);
  ArmTimer();
}

void LiveHost::ArmTimer() {
  const auto due = session_.GetNextDue();
  if (!due) {
    due_.cancel();
    return;
  }
  due_.expires_at(chrono::steady_clock::time_point(chrono::milliseconds(*due)));
  due_.async_wait([this](const boost::system::error_code& error) {
    if (!error) CatchUp();
  });
}

void LiveHost::TellTimeRegularly() {
  clock_.expires_after(kClockPeriod);
  clock_.async_wait([this](const boost::system::error_code& error) {
    if (error) return;
    CatchUp();
    TellTime();
    TellTimeRegularly();
  });
}

void LiveHost::Publish(const std::vector<std::string>& lines) {
  for (const std::string& line : lines) Tell(line, true);
}

void LiveHost::Tell(const std::string& text, bool onConsole) {
  if (onConsole) console_.Print(text);
  if (!server_) return;
  if (session_.GetTime() != toldTime_) TellTime();
  const auto line = std::make_shared<const std::string>(text);
  server_->GetClients().Broadcast(line);
  recent_.push_back(line);
  recentSize_ += text.size();
  while (recent_.size() > kMostRecentLines || recentSize_ > kMostRecentSize) {
    recentSize_ -= recent_.front()->size();
    recent_.pop_front();
  }
}

void LiveHost::TellTime() {
  toldTime_ = session_.GetTime();
  if (server_) server_->GetClients().Broadcast(std::make_shared<const std::string>(GetClockLine()));
}

void LiveHost::PublishStatus() {
  const auto tell = [this](const std::string& line) {
    console_.Print(line);
    if (server_) server_->GetClients().Broadcast(std::make_shared<const std::string>(line));
  };
  const auto& notices = session_.GetNotices();
  while (toldNotices_ < notices.size()) tell("! notice " + Quote(notices[toldNotices_++]));
  if (session_.GetStateHealth() != toldHealth_) {
    toldHealth_ = session_.GetStateHealth();
    tell(GetHealthLine());
  }
  const std::int64_t offset = session_.GetTime() - Now().wall / 1000;
  if (std::abs(offset - toldOffset_) > 1) {
    toldOffset_ = offset;
    TellTime();
  }
}

std::string LiveHost::GetClockLine() const {
  const std::int64_t now = session_.GetTime();
  return "! clock " + std::to_string(now) + ' ' + std::to_string(GetUtcOffset(now));
}

std::string LiveHost::GetHealthLine() const {
  return "! health state=" + Quote(session_.GetStateHealth()) + " plugin=" + Quote(pluginPath_);
}

}  // namespace host
