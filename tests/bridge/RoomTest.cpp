// Plays the files of scenarios/bridge/ to a room without connections. A file's steps:
//
//   room [discovery=PREFIX]   starts a bridge, of the site hotel and the room 101
//   host connects | lost
//   line TEXT                 a line of the host
//   broker connects | lost
//   granted look | discovery | commands | birth, refused ...   answers to subscriptions
//   message TOPIC PAYLOAD [retained=yes] [response=TOPIC] [correlation=TEXT]
//   wait DURATION
//   end                       the bridge ends
//   times N STEP              N times; each % in the step stands for the number, from 1
//
// With UPDATE_SCENARIOS in the environment the files are written anew.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

#include "bridge/core/Room.h"
#include "host/session/Step.h"

namespace bridge {
namespace {

struct Printer {
  std::ostream& out;

  void operator()(const Publish& publish) const {
    out << "publish " << (publish.isRetained ? "retained " : "") << publish.topic;
    if (!publish.payload.empty()) out << ' ' << publish.payload;
    if (!publish.correlation.empty()) out << " correlation=" << publish.correlation;
  }
  void operator()(const Subscribe& subscribe) const {
    static constexpr const char* kPurposes[] = {"look", "discovery", "commands", "birth"};
    out << "subscribe " << kPurposes[static_cast<int>(subscribe.purpose)];
    for (const std::string& filter : subscribe.filters) out << ' ' << filter;
  }
  void operator()(const Unsubscribe& unsubscribe) const {
    out << "unsubscribe";
    for (const std::string& filter : unsubscribe.filters) out << ' ' << filter;
  }
  void operator()(const Step& step) const { out << "step " << step.text; }
  void operator()(const LogRecord& record) const {
    out << (record.level == LogRecord::Level::kInfo ? "info " : "warning ") << record.text;
  }
};

class Player {
 public:
  /// Carries out a step, given without the "> " before it; returns the lines that follow.
  std::string Play(const std::string& text) {
    std::ostringstream out;
    for (const Action& action : Run(text)) {
      std::visit(Printer{out}, action);
      out << '\n';
    }
    return out.str();
  }

 private:
  Actions Run(const std::string& text) {
    const std::size_t blank = text.find(' ');
    const std::string name = text.substr(0, blank);
    const std::string rest = blank == std::string::npos ? "" : text.substr(blank + 1);
    if (name == "line") return room_->TakeLine(rest, now_);
    if (name == "times") return Repeat(rest);
    const std::vector<host::StepWord> words = host::ParseStep(text).words;
    const std::string what = words.empty() ? "" : words.front().value;
    if (name == "room") return Start(words);
    if (name == "host" && what == "connects") return room_->ConnectHost(), Actions();
    if (name == "host" && what == "lost") return room_->LoseHost();
    if (name == "broker" && what == "connects") return room_->ConnectBroker(now_);
    if (name == "broker" && what == "lost") return room_->LoseBroker(), Actions();
    if (name == "granted" || name == "refused") {
      return room_->TakeSubscribed(ReadPurpose(what), name == "granted", now_);
    }
    if (name == "message") return room_->TakeMessage(ReadMessage(words), now_);
    if (name == "wait") return Wait(std::chrono::milliseconds(host::ParseDuration(what)));
    if (name == "end") return room_->End();
    throw std::runtime_error("no step: " + text);
  }

  Actions Start(const std::vector<host::StepWord>& words) {
    Room::Options options;
    options.site = "hotel";
    options.room = "101";
    options.version = "1.0";
    options.hasDiscovery = !words.empty();
    if (options.hasDiscovery) options.discoveryPrefix = words.front().value;
    room_.emplace(options, [] { return 0.5; });
    return {};
  }

  Actions Repeat(const std::string& text) {
    std::size_t end = 0;
    const int times = std::stoi(text, &end);
    Actions all;
    for (int number = 1; number <= times; ++number) {
      std::string step = text.substr(end + 1);
      for (std::size_t at; (at = step.find('%')) != std::string::npos;) {
        step.replace(at, 1, std::to_string(number));
      }
      Actions actions = Run(step);
      std::move(actions.begin(), actions.end(), std::back_inserter(all));
    }
    return all;
  }

  /// Lets time pass, with each tick in its time.
  Actions Wait(Time::duration duration) {
    Actions all;
    const Time end = now_ + duration;
    while (room_->GetNextTick() && *room_->GetNextTick() <= end) {
      now_ = std::max(now_, *room_->GetNextTick());
      Actions actions = room_->Tick(now_);
      std::move(actions.begin(), actions.end(), std::back_inserter(all));
    }
    now_ = end;
    return all;
  }

  static Purpose ReadPurpose(const std::string& name) {
    static const std::map<std::string, Purpose> kPurposes = {{"look", Purpose::kLook},
                                                             {"discovery", Purpose::kDiscovery},
                                                             {"commands", Purpose::kCommands},
                                                             {"birth", Purpose::kBirth}};
    return kPurposes.at(name);
  }

  static Message ReadMessage(const std::vector<host::StepWord>& words) {
    Message message{words.at(0).value, words.at(1).value, false, "", ""};
    for (std::size_t i = 2; i < words.size(); ++i) {
      if (words[i].key == "retained") message.isRetained = true;
      if (words[i].key == "response") message.responseTopic = words[i].value;
      if (words[i].key == "correlation") message.correlation = words[i].value;
    }
    return message;
  }

  std::optional<Room> room_;
  Time now_{std::chrono::hours(1)};
};

std::string ReadFile(const std::filesystem::path& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// The text with the lines that follow its steps now.
std::string Replay(const std::string& text) {
  Player player;
  std::istringstream lines(text);
  std::string replayed;
  for (std::string line; std::getline(lines, line);) {
    const bool isStep = line.rfind("> ", 0) == 0;
    if (isStep || line.empty() || line.front() == '#') replayed += line + '\n';
    if (isStep) replayed += player.Play(line.substr(2));
  }
  return replayed;
}

std::vector<std::filesystem::path> FindScenarios() {
  const std::filesystem::directory_iterator folder(PROJECT_DIR "/scenarios/bridge");
  std::vector<std::filesystem::path> paths;
  for (const auto& entry : folder) paths.push_back(entry.path());
  std::sort(paths.begin(), paths.end());
  return paths;
}

class BridgeScenario : public testing::TestWithParam<std::filesystem::path> {};

TEST_P(BridgeScenario, Replays) {
  const std::string expected = ReadFile(GetParam());
  const std::string actual = Replay(expected);
  if (std::getenv("UPDATE_SCENARIOS") != nullptr) {
    std::ofstream(GetParam()) << actual;
  } else {
    EXPECT_EQ(actual, expected);
  }
}

INSTANTIATE_TEST_SUITE_P(Files, BridgeScenario, testing::ValuesIn(FindScenarios()),
                         [](const auto& info) {
                           std::string name = info.param.stem().string();
                           std::replace(name.begin(), name.end(), '-', '_');
                           return name;
                         });

}  // namespace
}  // namespace bridge
