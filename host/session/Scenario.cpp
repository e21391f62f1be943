#include "host/session/Scenario.h"

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <stdexcept>

#include "host/engine/File.h"
#include "host/session/Transcript.h"
#include "platform/xml/Utf8.h"

namespace host {
namespace {

constexpr std::string_view kStepMark = "> ";
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kCrLf = "\r\n";

bool StartsWith(std::string_view text, std::string_view start) {
  return text.substr(0, start.size()) == start;
}

bool IsStep(std::string_view line) { return StartsWith(line, kStepMark); }

bool IsComment(std::string_view line) {
  return line.find_first_not_of(" \t") == std::string_view::npos || line.front() == '#';
}

/// Why a line is not a scenario's; null if it is.
const char* FindFault(std::string_view line) {
  if (!IsUtf8(line)) return "not UTF-8 text";
  if (IsStep(line) || IsComment(line) || IsPrinted(line)) return nullptr;
  if (line.front() == '>') return "a step begins with \"> \": a blank is missing";
  return "not a step, which begins with \"> \", not a comment, which begins with \"#\", and not a "
         "line that the host prints";
}

}  // namespace

Scenario Scenario::Read(const std::string& path) { return Parse(ReadFile(path), path); }

Scenario Scenario::Parse(std::string_view text, const std::string& path) {
  Scenario scenario;
  if (StartsWith(text, kByteOrderMark)) {
    scenario.byteOrderMark_ = kByteOrderMark;
    text.remove_prefix(kByteOrderMark.size());
  }
  scenario.endsLastLine_ = !text.empty() && text.back() == '\n';
  for (int number = 1; !text.empty(); ++number) {
    const auto fail = [&](const char* fault) {
      throw std::runtime_error(path + ':' + std::to_string(number) + ": " + fault);
    };
    std::string_view line = text.substr(0, text.find('\n'));
    const bool hasEnd = line.size() < text.size();
    text.remove_prefix(line.size() + (hasEnd ? 1 : 0));
    const bool isCrLf = hasEnd && !line.empty() && line.back() == '\r';
    if (isCrLf) line.remove_suffix(1);
    if (isCrLf && number == 1) scenario.lineEnd_ = kCrLf;
    const bool isOther = hasEnd && isCrLf != (scenario.lineEnd_ == kCrLf);
    if (isOther || line.find('\r') != std::string_view::npos) fail("mixed line ends");
    if (const char* const fault = FindFault(line)) fail(fault);
    if (IsStep(line)) {
      scenario.blocks_.push_back({std::string(line.substr(kStepMark.size())), {}});
    } else {
      scenario.blocks_.back().lines.emplace_back(line);
    }
  }
  if (scenario.blocks_.size() == 1) {
    throw std::runtime_error(path + ": no step; a step begins with \"> \"");
  }
  return scenario;
}

void Scenario::SetLines(std::size_t block, const std::vector<std::string>& lines) {
  std::vector<std::string>& old = blocks_.at(block).lines;
  std::vector<std::string> expected;
  std::remove_copy_if(old.begin(), old.end(), std::back_inserter(expected), IsComment);
  if (expected == lines) return;
  // Comments before the first expected line stay before it, the others follow the last.
  const auto first =
      expected.empty() ? old.begin() : std::find_if_not(old.begin(), old.end(), IsComment);
  std::vector<std::string> changed(old.begin(), first);
  changed.insert(changed.end(), lines.begin(), lines.end());
  std::copy_if(first, old.end(), std::back_inserter(changed), IsComment);
  old = std::move(changed);
}

std::vector<std::string> Scenario::GetLines() const {
  std::vector<std::string> lines;
  for (std::size_t i = 0; i < blocks_.size(); ++i) {
    if (i != 0) lines.push_back(std::string(kStepMark) + blocks_[i].step);
    lines.insert(lines.end(), blocks_[i].lines.begin(), blocks_[i].lines.end());
  }
  return lines;
}

std::string Scenario::GetText() const {
  std::string text(byteOrderMark_);
  for (const std::string& line : GetLines()) (text += line) += lineEnd_;
  if (!endsLastLine_) text.erase(text.size() - lineEnd_.size());
  return text;
}

void Scenario::Write(const std::string& path) const {
  // An atomic rename: a full disk must not cost the scenario.
  const std::string target = std::filesystem::canonical(path).string();
  const std::string fresh = target + ".new-" + std::to_string(getpid());
  try {
    if (access(target.c_str(), W_OK) != 0) ThrowFileError("write", target);
    WriteFile(fresh, GetText(), FileMode::kNew);
    std::filesystem::permissions(fresh, std::filesystem::status(target).permissions());
    std::filesystem::rename(fresh, target);
  } catch (const std::system_error&) {
    unlink(fresh.c_str());
    throw;
  }
}

}  // namespace host
