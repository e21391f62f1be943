// README and docs show what is: their scenarios replay, their XML is as the agent writes it, their
// links and scripts exist. The programs that they show are built by tests/docs/CMakeLists.txt.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "host/Replay.h"
#include "host/Scenario.h"
#include "platform/XmlNode.h"
#include "tests/support/Player.h"

namespace {

namespace fs = std::filesystem;

const fs::path kRoot = PROJECT_DIR;

/// A block between fences, or a line of text outside of them, whose kind is "".
struct Block {
  std::string kind;
  std::string place;  // file:line
  std::vector<std::string> lines;
  fs::path folder;
};

std::vector<Block> ReadBlocks(const fs::path& page) {
  static const std::regex fence("( *)```(.*)");
  std::vector<Block> blocks;
  std::ifstream file(page);
  std::string indent;
  bool isInside = false;
  int number = 0;
  for (std::string line; std::getline(file, line);) {
    const std::string place = page.filename().string() + ':' + std::to_string(++number);
    std::smatch match;
    if (std::regex_match(line, match, fence)) {
      isInside = !isInside;
      indent = match[1];
      if (isInside) blocks.push_back({match[2], place, {}, page.parent_path()});
      EXPECT_FALSE(isInside && match[2].str().empty()) << place << ": a block of no kind";
    } else if (isInside) {
      blocks.back().lines.push_back(line.substr(std::min(indent.size(), line.size())));
    } else {
      blocks.push_back({"", place, {line}, page.parent_path()});
    }
  }
  EXPECT_FALSE(isInside) << page << ": a block without an end";
  return blocks;
}

/// Hands over each block of that kind; there must be one.
void ForEachBlock(const std::string& kind, const std::function<void(const Block&)>& check) {
  std::vector<fs::path> pages = {kRoot / "README.md"};
  for (const auto& entry : fs::directory_iterator(kRoot / "docs")) {
    if (entry.path().extension() == ".md") pages.push_back(entry.path());
  }
  int count = 0;
  for (const fs::path& page : pages) {
    for (const Block& block : ReadBlocks(page)) {
      if (block.kind != kind) continue;
      ++count;
      check(block);
    }
  }
  EXPECT_NE(count, 0) << "no block of kind " << kind;
}

std::string Join(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) text += line + '\n';
  return text;
}

/// Undoes the breaking of an element into indented lines.
std::string Unbreak(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) text += line.substr(line.find_first_not_of(' '));
  return text;
}

/// Expects a file that a page names.
void ExpectPath(const Block& block, const fs::path& path) {
  EXPECT_TRUE(fs::exists(path)) << block.place << ": there is no " << path;
}

TEST(Docs, ScenariosReplay) {
  setenv("TZ", "UTC", 1);
  tzset();
  ForEachBlock("scenario", [](const Block& block) {
    const auto scenario = host::Scenario::Parse(Join(block.lines), block.place);
    const auto replayed = host::ReplayScenario(test::GetPlugin(), scenario, false, nullptr);
    EXPECT_EQ(Join(replayed.GetLines()), Join(block.lines)) << block.place;
  });
}

TEST(Docs, XmlIsAsItIsWritten) {
  ForEachBlock("xml", [](const Block& block) {
    const std::string text = Unbreak(block.lines);
    const auto document = qx::CreateXmlDocument(text);
    ASSERT_TRUE(document) << block.place;
    EXPECT_EQ(document->GetRoot()->OuterXml(), text) << block.place;
  });
}

TEST(Docs, LinksLeadSomewhere) {
  static const std::regex link("\\]\\(([^)#:]+)(#[^)]*)?\\)");
  ForEachBlock("", [](const Block& block) {
    const std::string& line = block.lines.front();
    for (std::sregex_iterator at(line.begin(), line.end(), link), end; at != end; ++at) {
      ExpectPath(block, block.folder / (*at)[1].str());
    }
  });
}

TEST(Docs, CommandsNameScriptsThatExist) {
  static const std::regex script("(^|[\\s\"])((scripts|scenarios)/[a-z][a-z./-]*)");
  ForEachBlock("sh", [](const Block& block) {
    const std::string text = Join(block.lines);
    for (std::sregex_iterator at(text.begin(), text.end(), script), end; at != end; ++at) {
      const std::string path = (*at)[2];
      if (path != "scenarios/my-case.txt") ExpectPath(block, kRoot / path);
    }
  });
}

}  // namespace
