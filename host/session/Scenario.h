#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace host {

/// A scenario file: steps, each with the lines that are expected to follow it, and comments. Its
/// line ends, LF or CR LF, its byte order mark and a missing last line end stay as they are.
class Scenario {
 public:
  /// A step with all lines up to the next step. The first block has no step: it holds the lines
  /// before the first step.
  struct Block {
    std::string step;                // without the "> " before it
    std::vector<std::string> lines;  // comments and empty lines among them
  };

  /// Reads a file. Throws `std::runtime_error` that names the file, and the line that does not
  /// belong in a scenario: not UTF-8, with another line end than the first line, or neither a step
  /// nor a comment nor a line that a session prints. A file without a step is no scenario.
  static Scenario Read(const std::string& path);
  /// Parses a text likewise; `path` is its name in error texts.
  static Scenario Parse(std::string_view text, const std::string& path);

  const std::vector<Block>& GetBlocks() const { return blocks_; }

  /// Replaces the expected lines of a block by the actual ones; comments stay.
  void SetLines(std::size_t block, const std::vector<std::string>& lines);

  /// All lines of the file, without their ends.
  std::vector<std::string> GetLines() const;
  /// The text of the file.
  std::string GetText() const;
  /// Replaces an existing file by an atomic rename; its permissions stay. Throws
  /// `std::system_error` that names the file, which is then unchanged.
  void Write(const std::string& path) const;

 private:
  std::vector<Block> blocks_ = std::vector<Block>(1);
  std::string_view byteOrderMark_;  // "" for none
  std::string_view lineEnd_ = "\n";
  bool endsLastLine_ = true;
};

}  // namespace host
