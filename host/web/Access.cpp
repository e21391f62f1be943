#include "host/web/Access.h"

#include <algorithm>
#include <boost/algorithm/string/case_conv.hpp>
#include <boost/algorithm/string/predicate.hpp>
#include <charconv>
#include <stdexcept>

namespace web {
namespace {

bool IsDigits(std::string_view text) {
  return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

/// The name in lower case, without a port; "" for what is no name with or without one.
std::string NameOf(std::string_view authority) {
  const bool isBracketed = !authority.empty() && authority.front() == '[';
  const std::size_t end =
      isBracketed ? authority.find(']') + 1 : std::min(authority.find(':'), authority.size());
  const std::string_view rest = authority.substr(end);
  if (!rest.empty() && !(rest.front() == ':' && IsDigits(rest.substr(1)))) return "";
  return boost::algorithm::to_lower_copy(std::string(authority.substr(0, end)));
}

bool Contains(const std::vector<std::string>& names, const std::string& name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

}  // namespace

boost::asio::ip::tcp::endpoint ParseListen(const std::string& text) {
  const auto fail = [&](const char* reason) { throw std::invalid_argument(reason); };
  const std::size_t colon = text.rfind(':');
  if (colon == std::string::npos) fail("not ADDRESS:PORT, such as 127.0.0.1:8080, or none");
  std::string address = text.substr(0, colon);
  if (address.size() > 2 && address.front() == '[' && address.back() == ']') {
    address = address.substr(1, address.size() - 2);
  }
  unsigned short port = 0;
  const char* const end = text.data() + text.size();
  const auto result = std::from_chars(text.data() + colon + 1, end, port);
  if (result.ec != std::errc() || result.ptr != end) fail("the port is no number up to 65535");
  boost::system::error_code error;
  const auto parsed = boost::asio::ip::make_address(address, error);
  if (error) fail("the address is no number such as 127.0.0.1 or [::1]");
  if (!parsed.is_loopback()) {
    fail(
        "not an address of this machine's loopback; there is no password, so other machines need a "
        "tunnel or a proxy");
  }
  return {parsed, port};
}

Access::Access(const std::vector<std::string>& proxyNames)
    : names_{"localhost", "127.0.0.1", "[::1]"} {
  for (const std::string& name : proxyNames) {
    const std::string lower = boost::algorithm::to_lower_copy(name);
    constexpr const char* kAllowed = "abcdefghijklmnopqrstuvwxyz0123456789-.";
    if (lower.empty() || lower.find_first_not_of(kAllowed) != std::string::npos) {
      throw std::invalid_argument(name + ": not a host's name");
    }
    proxyNames_.push_back(lower);
  }
}

void Access::AllowAddress(const boost::asio::ip::address& address) {
  const std::string text = address.to_string();
  names_.push_back(address.is_v6() ? '[' + text + ']' : text);
}

bool Access::IsHostAllowed(std::string_view host) const {
  const std::string name = NameOf(host);
  return Contains(names_, name) || Contains(proxyNames_, name);
}

bool Access::IsOriginAllowed(std::string_view origin, std::string_view host) const {
  if (origin.empty()) return true;
  const std::size_t scheme = origin.find("://");
  if (scheme == std::string_view::npos) return false;
  const std::string_view authority = origin.substr(scheme + 3);
  return boost::algorithm::iequals(authority, host) || Contains(proxyNames_, NameOf(authority));
}

}  // namespace web
