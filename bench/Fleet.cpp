// The programs of scripts/fleet: many simulated rooms in one process, and a client of the broker
// that measures.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <boost/asio/io_context.hpp>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <exception>
#include <functional>
#include <iostream>
#include <memory>
#include <random>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/FleetRooms.h"
#include "bridge/BrokerAddress.h"
#include "bridge/BrokerConnection.h"
#include "bridge/Log.h"
#include "bridge/MqttLibrary.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kPatience(120);

/// A client of the broker that runs its event loop while it waits.
class Probe {
 public:
  explicit Probe(unsigned short port) {
    bridge::BrokerConnection::Options options;
    options.clientId = "probe";
    options.statusTopic = "probe/status";
    connection_ = std::make_shared<bridge::BrokerConnection>(
        io_, options,
        bridge::BrokerConnection::Handlers{
            [this] { isConnected_ = true; },
            [this](const bridge::Message& message) { onMessage_(message); },
            [this](bridge::Purpose, bool) { isSubscribed_ = true; },
            [](const std::string& reason) { throw std::runtime_error("the probe: " + reason); },
            [](const bridge::BrokerConnection::Failure& failure) {
              throw std::runtime_error("the probe: " + failure.reason);
            }});
    connection_->Start({boost::asio::ip::address_v4::loopback(), port});
    RunUntil([this] { return isConnected_; });
  }

  void OnMessage(std::function<void(const bridge::Message&)> handler) {
    onMessage_ = std::move(handler);
  }
  void Subscribe(const std::string& filter) {
    isSubscribed_ = false;
    connection_->Send(bridge::Subscribe{bridge::Purpose::kLook, {filter}});
    RunUntil([this] { return isSubscribed_; });
  }
  void Publish(const std::string& topic, const std::string& payload) {
    connection_->Send(bridge::Publish{topic, payload, false, ""});
  }
  template <typename Condition>
  void RunUntil(const Condition& condition) {
    const auto end = Clock::now() + kPatience;
    while (!condition()) {
      io_.run_one_for(std::chrono::seconds(1));
      if (Clock::now() > end) throw std::runtime_error("the probe waits in vain");
    }
  }
  void RunFor(Clock::duration duration) { io_.run_for(duration); }

 private:
  boost::asio::io_context io_;
  std::shared_ptr<bridge::BrokerConnection> connection_;
  std::function<void(const bridge::Message&)> onMessage_ = [](const bridge::Message&) {};
  bool isConnected_ = false, isSubscribed_ = false;
};

void RunRooms(unsigned short port, int first, int count) {
  boost::asio::io_context io;
  std::mt19937 generator(std::random_device{}());
  std::uniform_real_distribution<double> distribution(0, 1);
  const std::function<double()> random = [&] { return distribution(generator); };
  const bridge::Log log;
  bridge::BrokerAddress broker;
  broker.host = "127.0.0.1";
  broker.port = std::to_string(port);
  std::deque<bench::FleetRoom> rooms;
  for (int number = first; number < first + count; ++number) {
    rooms.emplace_back(io, std::to_string(number), broker, random, log);
    rooms.back().Start();
  }
  io.run();
}

/// Returns when so many topics under a filter have a payload with a text.
void WaitForTopics(unsigned short port, const std::string& filter, const std::string& text,
                   int count) {
  Probe probe(port);
  std::set<std::string> topics;
  probe.OnMessage([&](const bridge::Message& message) {
    if (message.payload.find(text) != std::string::npos) {
      topics.insert(message.topic);
    } else {
      topics.erase(message.topic);
    }
  });
  probe.Subscribe(filter);
  probe.RunUntil([&] { return topics.size() == static_cast<std::size_t>(count); });
}

void PrintTimes(std::vector<double> times) {
  std::sort(times.begin(), times.end());
  const auto at = [&](double part) {
    return times[static_cast<std::size_t>(part * static_cast<double>(times.size() - 1))];
  };
  std::printf("%.3f %.3f\n", at(0.5), at(0.99));
}

template <typename Act>
double MeasureMilliseconds(const Act& act) {
  const auto start = Clock::now();
  act();
  return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

/// From a command to the state, in random rooms, one after the other; milliseconds.
void MeasureCommands(unsigned short port, int first, int count, int times) {
  Probe probe(port);
  std::string wanted, payload;
  bool isThere = false;
  probe.OnMessage([&](const bridge::Message& message) {
    isThere =
        isThere || (message.topic == wanted && message.payload.find(payload) != std::string::npos);
  });
  probe.Subscribe("gs/fleet/+/service/1");
  probe.RunFor(std::chrono::seconds(1));  // the states of now
  std::mt19937 generator(1);
  std::uniform_int_distribution<int> distribution(first, first + count - 1);
  std::vector<double> results;
  for (int i = 0; i < times; ++i) {
    wanted = "gs/fleet/" + std::to_string(distribution(generator)) + "/service/1";
    for (const bool isOn : {true, false}) {
      payload = isOn ? "\"open\":true" : "\"open\":false";
      isThere = false;
      results.push_back(MeasureMilliseconds([&] {
        probe.Publish(wanted + "/set", isOn ? "ON" : "OFF");
        probe.RunUntil([&] { return isThere; });
      }));
    }
  }
  PrintTimes(results);
}

/// From a message to itself, by the broker alone; milliseconds.
void MeasureEcho(unsigned short port, int times) {
  Probe probe(port);
  bool isThere = false;
  probe.OnMessage([&](const bridge::Message&) { isThere = true; });
  probe.Subscribe("probe/echo");
  std::vector<double> results;
  for (int i = 0; i < times; ++i) {
    isThere = false;
    results.push_back(MeasureMilliseconds([&] {
      probe.Publish("probe/echo", "x");
      probe.RunUntil([&] { return isThere; });
    }));
  }
  PrintTimes(results);
}

int Run(int argc, char** argv) {
  CLI::App app("Many rooms, and a client that measures them.");
  unsigned short port = 0;
  int first = 1, count = 1, times = 1000;
  std::string filter, text;
  app.add_option("--port", port, "The broker's, on 127.0.0.1")->required();
  app.add_option("--first", first, "The number of the first room");
  app.add_option("--count", count, "How many rooms, or topics");
  app.add_option("--times", times, "How often to measure");
  app.add_option("--filter", filter, "Of the topics to wait for");
  app.add_option("--text", text, "In their payloads");
  const auto* const rooms = app.add_subcommand("rooms", "Simulates rooms")->fallthrough();
  const auto* const wait = app.add_subcommand("wait", "Waits for topics")->fallthrough();
  const auto* const commands = app.add_subcommand("commands", "Measures commands")->fallthrough();
  const auto* const echo = app.add_subcommand("echo", "Measures the broker alone")->fallthrough();
  app.require_subcommand(1);
  CLI11_PARSE(app, argc, argv);
  const bridge::MqttLibrary library;
  if (*rooms) RunRooms(port, first, count);
  if (*wait) WaitForTopics(port, filter, text, count);
  if (*commands) MeasureCommands(port, first, count, times);
  if (*echo) MeasureEcho(port, times);
  return EXIT_SUCCESS;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return Run(argc, argv);
  } catch (const std::exception& error) {
    std::cerr << "error: " << error.what() << '\n';
    return EXIT_FAILURE;
  }
}
