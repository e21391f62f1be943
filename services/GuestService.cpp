#include "services/GuestService.h"

#include <algorithm>
#include <charconv>
#include <stdexcept>
#include <string_view>

namespace {

/// Writes the number, padded with zeros to `width`, and the character `next`. Returns the end.
char* WriteNumber(char* text, int number, int width, char next) {
  constexpr int kMostCharacters = 11;
  char* end = std::to_chars(text, text + kMostCharacters, number).ptr;
  for (; end - text < width; ++end) {
    std::copy_backward(text, end, end + 1);
    *text = '0';
  }
  *end++ = next;
  return end;
}

/// Parses MM/DD/YYYY HH:MM:SS by position and ignores the separators. The seconds may have fewer
/// digits. Throws `std::out_of_range` for a text of less than 17 characters.
QxTime ParseDateTime(const std::string& text) {
  constexpr std::size_t kSecondPosition = 17;
  if (text.size() < kSecondPosition) throw std::out_of_range("basic_string::substr");
  const auto piece = [&](std::size_t position, std::size_t length) {
    return qx::ToInt(text.substr(position, length).c_str());
  };
  const int second = piece(kSecondPosition, 2);
  const int minute = piece(14, 2);
  const int hour = piece(11, 2);
  const int day = piece(3, 2);
  const int month = piece(0, 2);
  const int year = piece(6, 4);
  return QxTime(year, month, day, hour, minute, second);
}

}  // namespace

GuestService::GuestService(unsigned int serviceId, const std::string& serviceName,
                           const std::string& serviceDescription, int iconNumber, int delayMinutes,
                           const std::string& requestCode)
    : GuestServiceBase(serviceId),
      icon(iconNumber),
      delay(delayMinutes),
      name(serviceName),
      description(serviceDescription),
      operarequest(requestCode) {}

void GuestService::FromXml(const boost::shared_ptr<qx::XmlNode>& element) {
  id = static_cast<unsigned int>(element->GetAttributeNumber("id"));
  name = element->GetAttribute("name");
  description = element->GetAttribute("description");
  icon = element->GetAttributeNumber("icon");
  delay = element->GetAttributeNumber("delay");
  operarequest = element->GetAttribute("operarequest");
  state = element->GetAttributeNumber("state");
  const boost::shared_ptr<qx::XmlNode> time = element->GetChild("request_time");
  if (!time) return;
  if (time->HasAttribute("DATETIME")) {
    request_time = ParseDateTime(time->GetAttribute("DATETIME"));
    return;
  }
  const int second = time->GetAttributeNumber("SEC");
  const int minute = time->GetAttributeNumber("MIN");
  const int hour = time->GetAttributeNumber("HOUR");
  const int day = time->GetAttributeNumber("DAY");
  const int month = time->GetAttributeNumber("MONTH");
  const int year = time->GetAttributeNumber("YEAR");
  request_time = QxTime(year, month, day, hour, minute, second);
}

boost::shared_ptr<qx::XmlNode> GuestService::ToXml(bool dateTimeAsText) const {
  boost::shared_ptr<qx::XmlNode> element = qx::CreateXmlNode();
  element->Initialize("guest_service", "");
  element->SetAttributeNumber("id", static_cast<int>(id));
  element->SetAttribute("name", name);
  element->SetAttribute("description", description);
  element->SetAttribute("icon", std::to_string(icon));
  element->SetAttributeNumber("delay", delay);
  element->SetAttribute("operarequest", operarequest);
  element->SetAttributeNumber("state", state);
  const boost::shared_ptr<qx::XmlNode> time = qx::CreateXmlNode("request_time", "");
  if (dateTimeAsText) {
    time->SetAttribute("DATETIME", GetRequestTimeString());
  } else {
    time->SetAttributeNumber("YEAR", request_time.GetYear());
    time->SetAttributeNumber("MONTH", request_time.GetMonth());
    time->SetAttributeNumber("DAY", request_time.GetDay());
    time->SetAttributeNumber("HOUR", request_time.GetHour());
    time->SetAttributeNumber("MIN", request_time.GetMinute());
    time->SetAttributeNumber("SEC", request_time.GetSecond());
  }
  element->AddChild(time);
  return element;
}

std::string GuestService::GetRequestTimeString() const {
  char text[80];  // six numbers of 11 characters at most
  char* end = WriteNumber(text, request_time.GetMonth(), 2, '/');
  end = WriteNumber(end, request_time.GetDay(), 2, '/');
  end = WriteNumber(end, request_time.GetYear(), 4, ' ');
  end = WriteNumber(end, request_time.GetHour(), 2, ':');
  end = WriteNumber(end, request_time.GetMinute(), 2, ':');
  end = WriteNumber(end, request_time.GetSecond(), 2, '\0');
  return text;
}
