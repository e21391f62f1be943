#include "host/web/Request.h"

#include <algorithm>
#include <boost/asio/buffer.hpp>
#include <boost/beast/http/error.hpp>
#include <boost/beast/http/parser.hpp>
#include <cstdint>
#include <limits>

namespace web {

namespace http = boost::beast::http;

std::variant<Request, Refusal> ParseRequest(std::string_view head, const Limits& limits) {
  // Each header line costs memory of its own, however short it is. The start line and the empty one
  // are none.
  const auto lines = static_cast<std::size_t>(std::count(head.begin(), head.end(), '\n'));
  if (lines > limits.requestLines + 2) {
    return Refusal{http::status::request_header_fields_too_large, "too many header lines"};
  }
  http::request_parser<http::empty_body> parser;
  parser.header_limit(std::numeric_limits<std::uint32_t>::max());
  parser.body_limit(std::numeric_limits<std::uint64_t>::max());
  boost::system::error_code error;
  parser.put(boost::asio::buffer(head), error);
  if (!error && !parser.is_header_done()) error = http::error::partial_message;
  if (error) {
    return Refusal{http::status::bad_request, "not an HTTP request: " + error.message()};
  }
  if (parser.get().count(http::field::transfer_encoding) > 0) {
    return Refusal{http::status::bad_request, "a request has no body here"};
  }
  if (parser.content_length().value_or(0) > 0) {
    return Refusal{http::status::payload_too_large, "a request has no body here"};
  }
  return parser.release();
}

}  // namespace web
