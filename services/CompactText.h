#pragma once

#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

/// A text of a record, in 16 bytes on 32 and on 64 bits. Up to 15 characters are stored in place,
/// longer texts in a heap block of exactly their size. A service has three texts, most of them
/// short or empty: with `std::string` or Boost's string in place of it, a service of the benchmarks
/// takes 24 bytes more heap on 32-bit ARM, and 64 more on x86-64. The characters cannot be changed
/// in place; a text is replaced by assignment.
class CompactText {
 public:
  CompactText() = default;
  /// Throws `std::bad_alloc`, and `std::length_error` for a text of 4 GiB or more.
  CompactText(std::string_view text) {
    if (text.size() > sizeof text_.short_.characters) {
      if (text.size() > UINT32_MAX) throw std::length_error("CompactText");
      text_.long_ = {kLong, static_cast<std::uint32_t>(text.size()), new char[text.size()]};
      std::memcpy(text_.long_.characters, text.data(), text.size());
    } else if (!text.empty()) {
      text_.short_.size = static_cast<std::uint8_t>(text.size());
      std::memcpy(text_.short_.characters, text.data(), text.size());
    }
  }
  CompactText(const std::string& text) : CompactText(std::string_view(text)) {}
  CompactText(CompactText&& other) noexcept { Swap(other); }
  CompactText& operator=(CompactText&& other) noexcept {
    Swap(other);
    return *this;
  }
  ~CompactText() {
    if (IsLong()) delete[] text_.long_.characters;
  }

  operator std::string_view() const {
    return IsLong() ? std::string_view(text_.long_.characters, text_.long_.size)
                    : std::string_view(text_.short_.characters, text_.short_.size);
  }
  operator std::string() const { return std::string(std::string_view(*this)); }

 private:
  static constexpr std::uint8_t kLong = UINT8_MAX;

  struct Short {
    std::uint8_t size;  // or `kLong`: then it is the other
    char characters[15];
  };
  struct Long {
    std::uint8_t mark;
    std::uint32_t size;
    char* characters;
  };

  bool IsLong() const { return text_.short_.size == kLong; }
  void Swap(CompactText& other) noexcept { std::swap(text_, other.text_); }

  union {
    Short short_;
    Long long_;
  } text_{};
};
