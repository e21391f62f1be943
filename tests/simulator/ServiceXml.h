#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace simulator {

/// Year, month, day, hour, minute, second; kept as they were given.
using Date = std::array<int, 6>;

std::int64_t ToSeconds(const Date& date);
Date ToDate(std::int64_t seconds);

/// A service as the model knows it.
struct Service {
  bool isShortcut = false;
  std::uint32_t id = 0;
  std::uint32_t target = 0;  // of a shortcut; all that follows is a guest service's
  std::string name;
  std::string description;
  std::string requestCode;
  int icon = 0;
  int delay = 0;
  int state = 0;
  Date requestTime{1970, 1, 1, 0, 0, 0};
};

/// What a state holds, up to the first service that cannot be read; `error` says why it cannot.
struct State {
  std::string rootName;
  std::vector<Service> services;
  std::string error;
};

/// The attributes of a date: one text, or six numbers.
std::string ToXml(const Date& date, bool asText);
std::string ToXml(const Service& service, bool dateAsText);

/// Nothing if the text is not one element. Throws `std::runtime_error` if the service cannot be
/// read.
std::optional<Service> ReadService(const std::string& text, bool isShortcut);
/// Nothing if the text is not one element.
std::optional<State> ReadState(const std::string& text);

/// The decimal number that the text begins with, cut to 32 bits; 0 without one.
int ReadNumber(const std::string& text);

/// A text that XML does not hold as it is.
struct OddText {
  const char* text;
  const char* asXml;
};

/// None of them begins or completes another, whatever stands between them.
const std::vector<OddText>& GetOddTexts();

/// The text as XML holds it. Beside the odd texts it may have ASCII and whole UTF-8 characters.
std::string Escape(const std::string& text);

}  // namespace simulator
