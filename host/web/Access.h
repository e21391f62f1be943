#pragma once

#include <boost/asio/ip/address.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace web {

/// Reads "ADDRESS:PORT" with a numeric address of the loopback, IPv6 in brackets. Throws
/// `std::invalid_argument`.
boost::asio::ip::tcp::endpoint ParseListen(const std::string& text);

/// Decides by a request's headers whether it is answered: against DNS rebinding by `Host`, against
/// cross-site WebSockets by `Origin`. Names are compared without case.
class Access {
 public:
  /// Besides the names of the loopback, `localhost`, `127.0.0.1` and `[::1]`, allows those of
  /// proxies. Throws `std::invalid_argument` for a name with anything but letters, digits, "-" and
  /// ".".
  explicit Access(const std::vector<std::string>& proxyNames);

  /// Also allows the address as a name.
  void AllowAddress(const boost::asio::ip::address& address);

  /// Whether a request with that `Host` header, with any port or none, is answered.
  bool IsHostAllowed(std::string_view host) const;
  /// Whether a WebSocket with these headers is opened: `origin` is that of a page from `host` or
  /// from a proxy, or is empty, which stands for no header. Browsers always send one.
  bool IsOriginAllowed(std::string_view origin, std::string_view host) const;

 private:
  std::vector<std::string> names_;
  std::vector<std::string> proxyNames_;
};

}  // namespace web
