#include "host/session/Scenario.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <string_view>

#include "host/engine/File.h"
#include "platform/xml/Utf8.h"

namespace host {
namespace {

constexpr std::string_view kStepMark = "> ";

bool IsComment(const std::string& line) { return line.empty() || line.front() == '#'; }

bool IsUtf8(std::string_view text) {
  while (!text.empty()) {
    const int length = qx::Utf8Length(text);
    if (length < 0) return false;
    text.remove_prefix(static_cast<std::size_t>(length));
  }
  return true;
}

}  // namespace

Scenario Scenario::Read(const std::string& path) { return Parse(ReadFile(path), path); }

Scenario Scenario::Parse(const std::string& text, const std::string& path) {
  Scenario scenario;
  scenario.blocks_.emplace_back();
  std::istringstream lines(text);
  std::string line;
  for (int number = 1; std::getline(lines, line); ++number) {
    if (!IsUtf8(line)) {
      throw std::runtime_error(path + ':' + std::to_string(number) + ": not UTF-8 text");
    }
    if (line.compare(0, kStepMark.size(), kStepMark) == 0) {
      scenario.blocks_.push_back({line.substr(kStepMark.size()), {}});
    } else {
      scenario.blocks_.back().lines.push_back(line);
    }
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

void Scenario::Write(const std::string& path) const {
  // An atomic rename: a full disk must not cost the scenario.
  const std::string target = std::filesystem::canonical(path).string();
  const std::string written = target + ".new";
  std::string text;
  for (const std::string& line : GetLines()) (text += line) += '\n';
  WriteFile(written, text, FileMode::kTruncate);
  std::filesystem::rename(written, target);
}

}  // namespace host
