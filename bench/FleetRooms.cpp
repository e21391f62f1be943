#include "bench/FleetRooms.h"

#include <chrono>
#include <variant>

namespace bench {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int kServices = 9;
constexpr std::int64_t kNow = 1709283600;  // seconds since 1970, on the hosts' clocks

bridge::Room::Options MakeRoomOptions(const std::string& name) {
  bridge::Room::Options options;
  options.site = "fleet";
  options.room = name;
  options.hasDiscovery = false;
  return options;
}

bridge::BrokerClient::Options MakeBrokerOptions(const std::string& name,
                                                const bridge::BrokerAddress& broker) {
  bridge::BrokerClient::Options options;
  options.brokers = {broker};
  options.clientId = "gs/fleet/" + name;
  options.statusTopic = options.clientId + "/status";
  return options;
}

}  // namespace

FleetRoom::FleetRoom(boost::asio::io_context& io, const std::string& name,
                     const bridge::BrokerAddress& broker, const std::function<double()>& random,
                     const bridge::Log& log)
    : room_(MakeRoomOptions(name), random),
      broker_(io, MakeBrokerOptions(name, broker), MakeHandlers(), random, log),
      tick_(io) {}

bridge::BrokerClient::Handlers FleetRoom::MakeHandlers() {
  return {[this] { Do(room_.ConnectBroker(Clock::now())); },
          [this](const bridge::Message& message) { Do(room_.TakeMessage(message, Clock::now())); },
          [this](bridge::Purpose purpose, bool isGranted) {
            Do(room_.TakeSubscribed(purpose, isGranted, Clock::now()));
          },
          [this] {
            room_.LoseBroker();
            SetTick();
          }};
}

void FleetRoom::Start() {
  room_.ConnectHost();
  Say({"! clock " + std::to_string(kNow) + " 0", "! health state=\"ok\"", "! replay-end"});
  broker_.Start();
}

void FleetRoom::Do(const bridge::Actions& actions) {
  for (const bridge::Action& action : actions) {
    if (const auto* const step = std::get_if<bridge::Step>(&action)) {
      TakeStep(step->text);
    } else if (const auto* const publish = std::get_if<bridge::Publish>(&action)) {
      broker_.Send(*publish);
    } else if (const auto* const subscribe = std::get_if<bridge::Subscribe>(&action)) {
      broker_.Send(*subscribe);
    } else if (const auto* const unsubscribe = std::get_if<bridge::Unsubscribe>(&action)) {
      broker_.Send(*unsubscribe);
    }
  }
  SetTick();
}

void FleetRoom::TakeStep(const std::string& step) {
  if (step.rfind("ui ", 0) == 0) {
    return Say({"> " + step, "answer " + DescribeList()});
  }
  const int id = std::stoi(step.substr(step.find("id=") + 3));
  const std::string element = "><id>" + std::to_string(id) + "</id></service_state_";
  if (step.rfind("SEND_REQUEST_EVENT", 0) == 0) {
    open_.insert(id);
    return Say({"! from desk",
                "! open " + std::to_string(id) + ' ' + std::to_string(kNow) + " 0 " +
                    std::to_string(kNow + 900) + " 0",
                "push <service_state_requested" + element + "requested>"});
  }
  open_.erase(id);
  Say({"! from desk", "push <service_state_canceled" + element + "canceled>"});
}

void FleetRoom::Say(const std::vector<std::string>& lines) {
  for (const std::string& line : lines) Do(room_.TakeLine(line, Clock::now()));
}

std::string FleetRoom::DescribeList() const {
  std::string list = "<guest_services>";
  for (int id = 1; id <= kServices; ++id) {
    list += "<guest_service id=\"" + std::to_string(id) + "\" name=\"Service " +
            std::to_string(id) + R"(" description="As in a hotel" icon="3" delay="15" state=")" +
            std::to_string(open_.count(id)) + "\"/>";
  }
  return list + "</guest_services>";
}

void FleetRoom::SetTick() {
  const auto next = room_.GetNextTick();
  if (!next) {
    tick_.cancel();
    return;
  }
  if (tick_.expiry() == *next) return;
  tick_.expires_at(*next);
  tick_.async_wait([this](boost::system::error_code error) {
    if (!error) Do(room_.Tick(Clock::now()));
  });
}

}  // namespace bench
