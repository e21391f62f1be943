// README and docs show what is: their scenarios replay, their XML is as the agent writes it, their
// links and scripts exist. The programs that they show are built by tests/docs/CMakeLists.txt.
#include <gtest/gtest.h>

#include <filesystem>
#include <regex>
#include <string>
#include <vector>

#include "host/session/Replay.h"
#include "host/session/Scenario.h"
#include "platform/xml/XmlNode.h"
#include "tests/support/Plugin.h"
#include "tests/support/Program.h"
#include "tests/support/Zone.h"

namespace {

namespace fs = std::filesystem;

const fs::path kRoot = PROJECT_DIR;

struct Block {
  std::string text;
  fs::path page;
};

/// The blocks that are fenced with this word or, if it is "", the texts around blocks.
std::vector<Block> FindBlocks(const std::string& word) {
  static const std::regex fence("```");
  std::vector<fs::path> pages = {kRoot / "README.md", kRoot / "CONTRIBUTING.md"};
  for (const auto& entry : fs::directory_iterator(kRoot / "docs")) {
    if (entry.path().extension() == ".md") pages.push_back(entry.path());
  }
  std::vector<Block> blocks;
  for (const fs::path& page : pages) {
    const std::string text = test::ReadFile(page);
    bool isInside = false;
    for (std::sregex_token_iterator piece(text.begin(), text.end(), fence, -1), end; piece != end;
         ++piece, isInside = !isInside) {
      const std::string block = *piece;
      const std::size_t wordEnd = isInside ? block.find('\n') : 0;
      EXPECT_EQ(isInside, wordEnd != 0) << page << ": a block of no kind:" << block;
      if (block.substr(0, wordEnd) != word) continue;
      blocks.push_back({block.substr(isInside ? wordEnd + 1 : 0), page});
    }
    EXPECT_TRUE(isInside) << page << ": a block without an end";
  }
  EXPECT_FALSE(blocks.empty()) << "no block of kind " << word;
  return blocks;
}

TEST(Docs, ScenariosReplay) {
  const test::Zone utc("UTC");
  const std::string hotel = test::ReadFile(kRoot / "host/sample-hotel.xml");
  const std::pair<const char*, std::string> kinds[] = {
      {"scenario", ""},
      {"hotel", "> restart state='" + std::regex_replace(hotel, std::regex("\n *"), "") + "'\n"}};
  for (const auto& [kind, start] : kinds) {
    for (const auto& [text, page] : FindBlocks(kind)) {
      const auto scenario = host::Scenario::Parse(start + text, page);
      const auto replayed = host::ReplayScenario(test::GetPlugin(), scenario, false, nullptr);
      EXPECT_EQ(replayed.GetLines(), scenario.GetLines()) << page;
    }
  }
}

TEST(Docs, XmlIsAsItIsWritten) {
  for (const auto& [text, page] : FindBlocks("xml")) {
    const std::string unbroken = std::regex_replace(text, std::regex("\n *"), "");
    const auto document = qx::CreateXmlDocument(unbroken);
    ASSERT_TRUE(document) << page << ": " << text;
    EXPECT_EQ(document->GetRoot()->OuterXml(), unbroken) << page;
  }
}

TEST(Docs, LinksAndCommandsNameWhatIsThere) {
  const auto expectAll = [](const std::string& kind, const std::regex& path, bool isFromRoot) {
    for (const auto& [text, page] : FindBlocks(kind)) {
      for (std::sregex_token_iterator name(text.begin(), text.end(), path, 1), end; name != end;) {
        const fs::path file = (isFromRoot ? kRoot : page.parent_path()) / name++->str();
        EXPECT_TRUE(fs::exists(file) || file.filename() == "my-case.txt") << page << ": " << file;
      }
    }
  };
  expectAll("", std::regex("\\]\\(([^)#:]+)(#[^)]*)?\\)"), false);
  expectAll("sh", std::regex("\\b((?:scripts|scenarios)/[a-z][a-z./-]*)"), true);
}

}  // namespace
