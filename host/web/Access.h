#pragma once

#include <boost/asio/ip/tcp.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace web {

/// Reads "ADDRESS:PORT", of which the address must be one of the loopback's. Throws
/// `std::invalid_argument`.
boost::asio::ip::tcp::endpoint ParseListen(const std::string& text);

/// Whose pages and WebSockets are served: those of this machine's own names, and of the names of
/// proxies. It keeps a foreign site from having its name lead to this machine, and its scripts from
/// talking to it.
class Access {
 public:
  /// Throws `std::invalid_argument` for a name with anything but letters, digits, "-" and ".".
  explicit Access(const std::vector<std::string>& proxyNames);

  /// Whether a request with that `Host` header is answered.
  bool IsHostAllowed(std::string_view host) const;
  /// Whether a WebSocket with these headers is opened; an empty `origin` stands for none, which no
  /// browser sends.
  bool IsOriginAllowed(std::string_view origin, std::string_view host) const;

 private:
  std::vector<std::string> names_;
  std::vector<std::string> proxyNames_;
};

}  // namespace web
