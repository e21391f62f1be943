#pragma once

#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/message.hpp>
#include <boost/beast/http/status.hpp>
#include <string>
#include <string_view>
#include <variant>

#include "host/web/Limits.h"

namespace web {

using Request = boost::beast::http::request<boost::beast::http::empty_body>;

/// Why a request is not answered.
struct Refusal {
  boost::beast::http::status status;
  std::string reason;
};

/// Parses a request's start line and header, with the empty line at their end. A request with a
/// body is refused.
std::variant<Request, Refusal> ParseRequest(std::string_view head, const Limits& limits);

}  // namespace web
