#include "bridge/BrokerAddress.h"

#include <boost/lexical_cast/try_lexical_convert.hpp>
#include <cstdint>
#include <stdexcept>

namespace bridge {
namespace {

bool IsPort(const std::string& text) {
  std::uint16_t port = 0;
  return text.find_first_not_of("0123456789") == std::string::npos &&
         boost::conversion::try_lexical_convert(text, port) && port > 0;
}

[[noreturn]] void ThrowFault() {
  throw std::runtime_error("a broker is mqtt://[USER@]ADDRESS[:PORT] or mqtts://...");
}

}  // namespace

std::string BrokerAddress::Describe() const {
  const bool isIpv6 = host.find(':') != std::string::npos;
  return (isTls ? "mqtts://" : "mqtt://") + (isIpv6 ? "[" + host + "]" : host) + ":" + port;
}

BrokerAddress ReadBrokerAddress(const std::string& text) {
  BrokerAddress broker;
  const std::size_t start = text.find("://");
  const std::string scheme = text.substr(0, start);
  if (start == std::string::npos || (scheme != "mqtt" && scheme != "mqtts")) ThrowFault();
  broker.isTls = scheme == "mqtts";
  broker.port = broker.isTls ? "8883" : "1883";
  std::string rest = text.substr(start + 3);
  if (const std::size_t at = rest.rfind('@'); at != std::string::npos) {
    broker.user = rest.substr(0, at);
    rest.erase(0, at + 1);
    if (broker.user.empty()) ThrowFault();
    if (broker.user.find(':') != std::string::npos) {
      throw std::runtime_error("a broker's password stands in a file, see --password-file");
    }
  }
  const std::size_t hostEnd = !rest.empty() && rest.front() == '[' ? rest.find(']') : 0;
  if (hostEnd == std::string::npos) ThrowFault();
  if (const std::size_t colon = rest.find(':', hostEnd); colon != std::string::npos) {
    broker.port = rest.substr(colon + 1);
    rest.erase(colon);
    if (!IsPort(broker.port)) ThrowFault();
  }
  broker.host = hostEnd > 0 ? rest.substr(1, hostEnd - 1) : rest;
  const bool isWhole = hostEnd == 0 || hostEnd + 1 == rest.size();
  const bool isName = broker.host.find_first_of(" /?#@[]") == std::string::npos;
  if (broker.host.empty() || !isWhole || !isName) ThrowFault();
  return broker;
}

}  // namespace bridge
