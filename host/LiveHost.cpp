#include "host/LiveHost.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <iostream>
#include <memory>
#include <new>
#include <sstream>
#include <stdexcept>

#include "host/PageFiles.h"
#include "host/engine/Clock.h"
#include "host/session/StepCompletion.h"
#include "host/session/Transcript.h"

namespace host {
namespace {

namespace chrono = std::chrono;

constexpr chrono::seconds kClockPeriod{10};
const std::string kPlainText = "text/plain; charset=utf-8";
const std::string kOutputFailed = "cannot write to the standard output: ";

Moment Now() {
  const SystemClock clock;
  return {clock.Wall(), clock.Monotonic()};
}

/// Reads a line that a person or a page sent. Throws `StepError`.
Step ReadLine(const std::string& line, Sender sender) {
  std::string visible = line;
  visible.erase(std::remove(visible.begin(), visible.end(), '\t'), visible.end());
  if (ToOneLine(visible) != visible) throw StepError("a step is one line of UTF-8 text");
  return ReadStep(line, sender);
}

std::string UrlOf(const boost::asio::ip::tcp::endpoint& endpoint) {
  std::ostringstream text;
  text << "http://" << endpoint << '/';
  return text.str();
}

}  // namespace

LiveHost::LiveHost(const Options& options)
    : session_(options.session, Now),
      console_(io_, options.isService ? Console::Mode::kService : Console::Mode::kConsole,
               {[this](const std::string& line) { OnConsoleLine(line); }, [this] { io_.stop(); },
                [this](const std::string& reason) { OnOutputFailed(reason); }}),
      feed_(session_, console_, options.session.plugin),
      manager_(io_),
      signals_(io_),
      due_(io_),
      clock_(io_) {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGWINCH, SIGTSTP, SIGCONT})
    signals_.add(signal);
  if (options.listen != "none") Listen(options);
  const auto lines = session_.Start();
  feed_.ReadRequests();
  feed_.SendStatus();
  feed_.SendLines(lines);
}

void LiveHost::Listen(const Options& options) {
  web::Site site;
  site.otherHostHint = "; --allow-host lets a proxy's name in";
  site.files = GetPageFiles();
  site.texts["/session.txt"] = [this] {
    CatchUp();
    return web::Text{kPlainText, session_.GetScenario()};
  };
  site.texts["/healthz"] = [this] { return GetHealth(); };
  for (const SenderRow& each : kSenders) {
    if (each.isPage) site.webSocketPaths.push_back(LiveFeed::GetPath(each.sender));
  }
  site.handlers.onClient = [this](web::Client& page) {
    CatchUp();
    feed_.Greet(page);
  };
  site.handlers.onLine = [this](web::Client& page, const std::string& line) {
    return OnPageLine(page, line);
  };
  site.onProblem = [this](const std::string& problem) { feed_.SendNotice(problem); };
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
  feed_.SetPages(server_->GetClients());
}

web::Text LiveHost::GetHealth() {
  CatchUp();
  const auto reply = [](unsigned int status, const char* text) {
    return web::Text{kPlainText, std::make_shared<const std::string>(text), status};
  };
  if (!session_.HasAgent()) return reply(503, "no agent runs\n");
  if (session_.GetStateHealth().kind == StateHealth::Kind::kFailed) {
    return reply(503, "the state is not saved\n");
  }
  return reply(200, "ok\n");
}

bool LiveHost::Run() {
  if (server_) {
    server_->Start();
    console_.Print("! page " + UrlOf(server_->GetEndpoint()));
  }
  if (console_.IsTerminal()) console_.Print("help lists the steps, exit or Ctrl-D ends the host");
  console_.Open();
  AwaitSignal();
  ArmClock();
  ArmTimer();
  manager_.NotifyReady();
  RunLoop();

  manager_.NotifyStopping();
  if (server_) server_->Close();
  session_.Save();
  feed_.SendStatus();
  console_.Close();
  if (!console_.GetOutputFailure().empty()) {
    throw std::runtime_error(kOutputFailed + console_.GetOutputFailure());
  }
  return session_.GetStateHealth().kind != StateHealth::Kind::kFailed;
}

void LiveHost::RunLoop() {
  for (;;) {
    try {
      io_.run();
      return;
    } catch (const std::bad_alloc&) {
      // It ended the operation that it passed out of, such as a page's connection.
      std::fputs("error: out of memory\n", stderr);
      ArmTimer();
      console_.GoOn();
    }
  }
}

void LiveHost::AwaitSignal() {
  signals_.async_wait([this](const boost::system::error_code& error, int signal) {
    if (error) return;
    AwaitSignal();
    OnSignal(signal);
  });
}

void LiveHost::OnSignal(int signal) {
  switch (signal) {
    case SIGWINCH:
      return console_.Resize();
    case SIGHUP:
      CatchUp();
      return RunAction(ReadStep("reload", Sender::kConsole), std::nullopt, nullptr);
    case SIGTSTP:
      return Stop();
    case SIGCONT:
      return console_.Resume();
    case SIGINT:
      if (console_.ClearLine()) return;
      [[fallthrough]];
    default:
      io_.stop();
  }
}

void LiveHost::Stop() {
  console_.Suspend();
  // Two resumptions would set the terminal's mode twice, and keys in between would be lost.
  for (const int signal : {SIGTSTP, SIGCONT}) signals_.remove(signal);
  std::raise(SIGTSTP);  // goes on here at SIGCONT, or at once where no shell can continue it
  for (const int signal : {SIGTSTP, SIGCONT}) signals_.add(signal);
  console_.Resume();
}

void LiveHost::OnOutputFailed(const std::string& reason) {
  if (!server_ && console_.IsOutputGone()) return io_.stop();
  std::cerr << "error: " << kOutputFailed << reason << "; the host goes on\n";
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

void LiveHost::ArmClock() {
  clock_.expires_after(kClockPeriod);
  clock_.async_wait([this](const boost::system::error_code& error) {
    if (error) return;
    ArmClock();
    CatchUp();
    feed_.SendClock();
  });
}

void LiveHost::OnConsoleLine(const std::string& line) {
  const std::string text = line.compare(0, 2, "> ") == 0 ? line.substr(2) : line;
  CatchUp();
  const bool isComment = text.empty() || text.front() == '#';
  if (!console_.IsTerminal()) console_.Print(isComment ? text : "> " + text);
  if (!isComment) RunLine(text, nullptr);
  if (session_.IsExiting()) console_.End();
}

bool LiveHost::OnPageLine(web::Client& page, const std::string& line) {
  CatchUp();
  return RunLine(line, &page);
}

bool LiveHost::RunLine(const std::string& line, web::Client* page) {
  const Sender sender = page != nullptr ? LiveFeed::GetRole(*page) : Sender::kConsole;
  Step step;
  try {
    step = ReadLine(line, sender);
    if (page != nullptr) session_.CheckRoom(step);
  } catch (const StepError& error) {
    Reply(ToOneLine(line), page, {FormatError(error.what())});
    return true;
  }
  if (!step.row->isQuery) {
    RunAction(step, sender, page);
  } else if (page != nullptr && page->IsPathFull()) {
    return false;  // many long answers would fill the memory
  } else {
    RunQuery(step, page);
  }
  if (page != nullptr) return true;
  const std::string warning = DescribeUnknownKeys(step);
  if (!warning.empty()) console_.Print("! " + warning);
  return true;
}

void LiveHost::RunQuery(const Step& step, web::Client* page) {
  // The queries of pages would bury the record of what happened.
  const auto lines = session_.RunStep(step, page == nullptr);
  feed_.SendStatus();
  Reply(step.text, page, lines);
  ArmTimer();
}

void LiveHost::RunAction(const Step& step, std::optional<Sender> sender, web::Client* page) {
  const auto lines = session_.RunStep(step);
  feed_.SendStatus();
  feed_.SendStep(step, sender);
  feed_.SendLines(lines, sender);
  const bool hasFailed = std::any_of(lines.begin(), lines.end(), IsError);
  if (hasFailed && page != nullptr && !Hears(*sender, Heard::kSessionLine)) {
    Reply(step.text, page, lines);
  }
  ArmTimer();
}

void LiveHost::Reply(const std::string& step, web::Client* page,
                     const std::vector<std::string>& lines) {
  const bool hearsAll = page == nullptr || Hears(LiveFeed::GetRole(*page), Heard::kSessionLine);
  if (page != nullptr) page->Send("> " + step);
  for (const std::string& line : lines) {
    if (page == nullptr) {
      console_.Print(line);
    } else if (hearsAll || IsAnswer(line) || IsError(line)) {
      page->Send(line);
    }
  }
}

void LiveHost::CatchUp() {
  const auto lines = session_.CatchUp();
  feed_.SendStatus();
  feed_.SendLines(lines);
  ArmTimer();
}

}  // namespace host
