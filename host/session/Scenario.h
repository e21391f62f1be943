#pragma once

#include <string>
#include <vector>

namespace host {

/// A scenario file: steps, each with the lines that are expected to follow it, and comments.
class Scenario {
 public:
  /// A step with all lines up to the next step. The first block has no step: it holds the lines
  /// before the first step.
  struct Block {
    std::string step;                // without the "> " before it
    std::vector<std::string> lines;  // comments and empty lines among them
  };

  /// Reads a file. Throws `std::runtime_error` that names the file, and the line that is not UTF-8.
  static Scenario Read(const std::string& path);
  /// Parses a text; `path` is its name in error texts.
  static Scenario Parse(const std::string& text, const std::string& path);

  const std::vector<Block>& GetBlocks() const { return blocks_; }

  /// Replaces the expected lines of a block by the actual ones; comments stay.
  void SetLines(std::size_t block, const std::vector<std::string>& lines);

  std::vector<std::string> GetLines() const;
  /// Replaces an existing file by an atomic rename. Throws `std::system_error` that names it.
  void Write(const std::string& path) const;

 private:
  std::vector<Block> blocks_;
};

}  // namespace host
