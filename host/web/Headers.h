#pragma once

#include <boost/beast/http/fields.hpp>

namespace web {

/// Sets the headers that every response has: what browsers may do with it, and that they keep no
/// copy.
void SetCommonHeaders(boost::beast::http::fields& response);

}  // namespace web
