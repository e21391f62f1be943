#pragma once

#include <algorithm>
#include <boost/container/vector.hpp>
#include <cstddef>
#include <string_view>

namespace qx {

/// XML text that is being written. The appends are many and short: this vector's are inlined and,
/// unlike the standard string's, need not fill the new characters first.
using Markup =
    boost::container::vector<char, void,
                             boost::container::vector_options_t<boost::container::growth_factor<
                                 boost::container::growth_factor_100>>>;

inline std::string_view View(const Markup& text) { return {text.data(), text.size()}; }

/// Appends `size` characters without a value and returns the first. Throws `std::bad_alloc` and
/// changes nothing then.
inline char* Extend(Markup& out, std::size_t size) {
  out.resize(out.size() + size, boost::container::default_init);
  return out.data() + out.size() - size;
}

/// Writes `text` at `to`; returns the end.
inline char* Write(char* to, std::string_view text) {
  return std::copy(text.begin(), text.end(), to);
}

/// Appends `text` as it is. Throws `std::bad_alloc` and changes nothing then.
inline void Append(Markup& out, std::string_view text) { Write(Extend(out, text.size()), text); }

/// Appends `text` escaped for an attribute value or element text, with U+FFFD in place of each
/// byte sequence that XML 1.0 cannot carry. Throws `std::bad_alloc`; a part of the text may have
/// been appended then.
void AppendEscaped(Markup& out, std::string_view text);

/// Appends ` name="value"`, the value escaped. Throws `std::bad_alloc` and changes nothing then.
void AppendAttribute(Markup& out, std::string_view name, std::string_view value);

}  // namespace qx
