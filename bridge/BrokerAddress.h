#pragma once

#include <string>

namespace bridge {

/// Where a broker is: `mqtt://[USER@]ADDRESS[:PORT]`, or `mqtts://…` for TLS. An IPv6 address
/// stands in brackets. The port is 1883 or, with TLS, 8883 if none is given.
struct BrokerAddress {
  bool isTls = false;
  std::string user;  // "" for none
  std::string host;
  std::string port;

  std::string Describe() const;
};

/// Throws `std::runtime_error` that says what is wrong, without the text: it may have a password.
BrokerAddress ReadBrokerAddress(const std::string& text);

}  // namespace bridge
