#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace bridge {

/// A JSON document whose members keep their order.
using Json = nlohmann::ordered_json;

/// The bytes of a document, on one line; U+FFFD for what is not UTF-8.
inline std::string ToText(const Json& json) {
  return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

/// The document; a discarded one, see `is_discarded()`, if the text is none.
inline Json ReadJson(const std::string& text) { return Json::parse(text, nullptr, false); }

}  // namespace bridge
