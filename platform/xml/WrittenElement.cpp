#include "platform/xml/WrittenElement.h"

#include <algorithm>

namespace qx {
namespace {

constexpr std::size_t kUsualSize = 240;  // most elements are built without another allocation
constexpr std::string_view kPlaceholderName = "_";

}  // namespace

void WrittenElement::Initialize(std::string_view name, std::string_view value) {
  const std::size_t attributes = std::min(text_.size(), 1 + nameSize_);
  const std::size_t children = std::min(text_.size(), startSize_ + 1 + textSize_);
  WrittenElement element;
  Markup& text = element.text_;
  text.reserve(std::max(kUsualSize, text_.size() + name.size()));
  Append(text, "<");
  Append(text, name.empty() ? kPlaceholderName : name);
  element.nameSize_ = text.size() - 1;
  Append(text, View(text_).substr(attributes, startSize_ - attributes));
  element.startSize_ = text.size();
  if (!value.empty() || children < text_.size()) {
    Append(text, ">");
    AppendEscaped(text, value);
    element.textSize_ = text.size() - element.startSize_ - 1;
    Append(text, View(text_).substr(children));
  }
  element.names_ = names_;
  element.isNamed_ = !name.empty();
  *this = std::move(element);
}

void WrittenElement::SetAttribute(std::string_view name, std::string_view value) {
  if (text_.empty()) Initialize("", "");
  const std::string_view old = names_.MayContain(name) ? FindAttribute(name) : std::string_view();
  const std::size_t before = text_.size();
  if (old.data() != nullptr) {
    Markup escaped;
    AppendEscaped(escaped, value);
    Replace(static_cast<std::size_t>(old.data() - text_.data()), old.size(), View(escaped));
  } else if (HasContent()) {
    Markup attribute;
    AppendAttribute(attribute, name, value);
    Replace(startSize_, 0, View(attribute));
  } else {
    AppendAttribute(text_, name, value);
  }
  startSize_ += text_.size() - before;
  names_.Add(name);
}

void WrittenElement::Replace(std::size_t position, std::size_t size, std::string_view markup) {
  Markup text;
  text.reserve(text_.size() - size + markup.size());
  Append(text, View(text_).substr(0, position));
  Append(text, markup);
  Append(text, View(text_).substr(position + size));
  text_.swap(text);
}

bool WrittenElement::HasAttribute(std::string_view name) const {
  return FindAttribute(name).data() != nullptr;
}

std::string_view WrittenElement::FindAttribute(std::string_view name) const {
  const std::string_view start = View(text_).substr(0, startSize_);
  for (std::size_t at = 1 + nameSize_; at < startSize_;) {
    const std::size_t nameEnd = start.find("=\"", at);
    const std::size_t value = nameEnd + 2;
    const std::size_t valueEnd = start.find('"', value);  // a quote in a value is escaped
    if (start.substr(at + 1, nameEnd - at - 1) == name) {
      return start.substr(value, valueEnd - value);
    }
    at = valueEnd + 1;
  }
  return {};
}

void WrittenElement::AddChild(const WrittenElement& child) {
  if (!child.isNamed_) return;
  if (&child == this) {
    AddContent(GetText());
  } else {
    char* to = ExtendContent(child.GetOuterSize());
    child.WriteOuterXml([&](std::string_view piece) { to = Write(to, piece); });
  }
}

void WrittenElement::AddContent(std::string_view markup) {
  if (!markup.empty()) Write(ExtendContent(markup.size()), markup);
}

char* WrittenElement::ExtendContent(std::size_t size) {
  if (text_.empty()) Initialize("", "");
  if (HasContent()) return Extend(text_, size);
  char* const to = Extend(text_, 1 + size);
  *to = '>';
  return to + 1;
}

std::string WrittenElement::GetText() const {
  if (text_.empty()) return "<_/>";
  std::string text;
  text.reserve(GetOuterSize());
  WriteOuterXml([&](std::string_view piece) { text += piece; });
  return text;
}

std::size_t WrittenElement::GetOuterSize() const {
  std::size_t size = 0;
  WriteOuterXml([&](std::string_view piece) { size += piece.size(); });
  return size;
}

template <typename Write>
void WrittenElement::WriteOuterXml(const Write& write) const {
  write(View(text_));
  if (HasContent()) {
    write("</");
    write(View(text_).substr(1, nameSize_));
    write(">");
  } else {
    write("/>");
  }
}

}  // namespace qx
