#pragma once

#include <string>
#include <vector>

namespace host {

/// A scenario file: steps, each with the lines that are to follow it, and comments.
class Scenario {
 public:
  /// A step with all lines up to the next one. The first block has no step: it holds what stands
  /// before the first.
  struct Block {
    std::string step;                // without the "> " before it
    std::vector<std::string> lines;  // comments and empty lines among them
  };

  /// Reads a file. Throws `std::runtime_error` that names the file, and the line if it is not
  /// UTF-8.
  static Scenario Read(const std::string& path);
  /// Reads a text; `path` stands in messages.
  static Scenario Parse(const std::string& text, const std::string& path);

  const std::vector<Block>& GetBlocks() const { return blocks_; }

  /// Puts what really followed the step of a block in place of what was to follow; comments stay.
  void SetLines(std::size_t block, const std::vector<std::string>& lines);

  std::vector<std::string> GetLines() const;
  /// Replaces a file that is there, all or nothing. Throws `std::runtime_error` that names it.
  void Write(const std::string& path) const;

 private:
  std::vector<Block> blocks_;
};

}  // namespace host
