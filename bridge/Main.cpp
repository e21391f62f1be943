// The program: its options and signals.
#include <CLI/CLI.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/signal_set.hpp>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <iostream>
#include <iterator>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "bridge/Bridge.h"
#include "bridge/BrokerAddress.h"
#include "bridge/MqttLibrary.h"
#include "bridge/core/Topics.h"

namespace {

constexpr int kUsageError = 2;

struct Arguments {
  bridge::Bridge::Options bridge;
  std::string host = "127.0.0.1:8080";
  std::vector<std::string> brokers;
  std::string passwordFile;
  bool hasNoDiscovery = false;
};

std::string CheckBroker(const std::string& value) {
  try {
    bridge::ReadBrokerAddress(value);
    return "";
  } catch (const std::runtime_error& error) {
    return error.what();
  }
}

/// Splits an address and a port.
bool SplitHost(const std::string& text, std::string& address, std::string& port) {
  const std::size_t colon = text.rfind(':');
  if (colon == std::string::npos || colon == 0 || colon + 1 == text.size()) return false;
  address = text.substr(0, colon);
  port = text.substr(colon + 1);
  return port.find_first_not_of("0123456789") == std::string::npos;
}

std::string CheckHost(const std::string& value) {
  std::string address, port;
  return SplitHost(value, address, port) ? "" : value + ": not ADDRESS:PORT";
}

std::string CheckPrefix(const std::string& value) {
  const bool isGood = !value.empty() && value.find_first_of("+# ") == std::string::npos &&
                      value.front() != '/' && value.back() != '/';
  return isGood ? "" : "\"" + value + "\" is not the beginning of a topic";
}

/// The first line of a file.
std::string ReadPassword(const std::string& file) {
  std::ifstream stream(file);
  std::string password;
  std::getline(stream, password);
  if (!stream && !stream.eof()) throw std::runtime_error(file + ": cannot be read");
  if (password.empty()) throw std::runtime_error(file + ": has no password on its first line");
  return password;
}

void AddOptions(CLI::App& app, Arguments& arguments) {
  auto& options = arguments.bridge;
  app.add_option("BROKER", arguments.brokers,
                 "Brokers, tried in turn: mqtt://[USER@]ADDRESS[:PORT], or mqtts://... for TLS")
      ->type_name("")
      ->required()
      ->check(CheckBroker);
  app.add_option("--site", options.room.site, "The site in the topics, gs/SITE/ROOM/...")
      ->type_name("SITE")
      ->required()
      ->check(bridge::CheckSite);
  app.add_option("--room", options.room.room, "The room in the topics")
      ->type_name("ROOM")
      ->required()
      ->check(bridge::CheckRoom);
  app.add_option("--host", arguments.host, "The host's address, as its --listen has it")
      ->type_name("ADDRESS:PORT")
      ->check(CheckHost)
      ->capture_default_str();
  const auto exists = CLI::Validator(CLI::ExistingFile).description("");  // the type name says it
  app.add_option("--password-file", arguments.passwordFile, "The user's password, on one line")
      ->type_name("FILE")
      ->check(exists);
  app.add_option(
         "--ca-file", options.broker.tls.authorities,
         "Certificates of the authorities that may certify a broker; without it the system's")
      ->type_name("FILE")
      ->check(exists);
  auto* const certificate =
      app.add_option("--certificate", options.broker.tls.certificate, "This client's certificate")
          ->type_name("FILE")
          ->check(exists);
  auto* const key = app.add_option("--key", options.broker.tls.key, "The certificate's key")
                        ->type_name("FILE")
                        ->check(exists);
  certificate->needs(key);
  key->needs(certificate);
  app.add_option("--discovery-prefix", options.room.discoveryPrefix,
                 "What Home Assistant's topics begin with")
      ->type_name("PREFIX")
      ->check(CheckPrefix)
      ->capture_default_str();
  app.add_flag("--no-discovery", arguments.hasNoDiscovery, "Tell Home Assistant nothing");
}

bridge::Bridge::Options ToOptions(const Arguments& arguments) {
  bridge::Bridge::Options options = arguments.bridge;
  options.room.hasDiscovery = !arguments.hasNoDiscovery;
  options.room.version = VERSION;
  SplitHost(arguments.host, options.hostAddress, options.hostPort);
  for (const std::string& broker : arguments.brokers) {
    options.broker.brokers.push_back(bridge::ReadBrokerAddress(broker));
  }
  if (!arguments.passwordFile.empty()) {
    options.broker.password = ReadPassword(arguments.passwordFile);
  }
  return options;
}

void RunBridge(const bridge::Bridge::Options& options) {
  const bridge::MqttLibrary library;
  boost::asio::io_context io;
  std::mt19937 generator(std::random_device{}());
  std::uniform_real_distribution<double> distribution(0, 1);
  bridge::Bridge bridge(io, options, [&] { return distribution(generator); });
  boost::asio::signal_set signals(io, SIGINT, SIGTERM);
  signals.async_wait([&](const boost::system::error_code& error, int /*signal*/) {
    if (!error) bridge.Stop();
  });
  bridge.Start();
  io.run();
}

int Run(int argc, char** argv) {
  CLI::App app("Bridges one Guest Services host to an MQTT broker.");
  app.set_version_flag("--version", "guest-services-bridge " VERSION);
  app.footer(
      "Example:\n"
      "  guest-services-bridge --site hotel --room 101 mqtts://room101@broker.example \\\n"
      "    --password-file /etc/guest-services/broker-password");
  Arguments arguments;
  AddOptions(app, arguments);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == EXIT_SUCCESS) return app.exit(error);  // --help, --version
    std::cerr << "error: " << error.what() << "; see guest-services-bridge --help\n";
    return kUsageError;
  }
  RunBridge(ToOptions(arguments));
  return EXIT_SUCCESS;
}

}  // namespace

int main(int argc, char** argv) {
  std::signal(SIGPIPE, SIG_IGN);
  try {
    return Run(argc, argv);
  } catch (const std::exception& error) {
    std::cerr << "error: " << error.what() << '\n';
    return EXIT_FAILURE;
  }
}
