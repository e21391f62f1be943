#pragma once

#include <cstddef>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <string_view>

/// A text of a record. It takes one pointer, and an empty one no memory beside it: a property's
/// records have many texts, and most are short or empty. The characters do not change; a new text
/// takes their place.
class CompactText {
 public:
  CompactText() = default;
  CompactText(std::string_view text) : block_(text.empty() ? nullptr : MakeBlock(text)) {}
  CompactText(const std::string& text) : CompactText(std::string_view(text)) {}

  operator std::string_view() const {
    return block_ ? std::string_view(reinterpret_cast<const char*>(block_.get() + 1), block_->size)
                  : std::string_view();
  }
  operator std::string() const { return std::string(std::string_view(*this)); }

 private:
  /// Followed in memory by the characters.
  struct Block {
    std::size_t size;
  };
  struct Release {
    void operator()(Block* block) const { ::operator delete(block); }
  };

  static Block* MakeBlock(std::string_view text) {
    void* memory = ::operator new(sizeof(Block) + text.size());
    Block* block = new (memory) Block{text.size()};
    std::memcpy(block + 1, text.data(), text.size());
    return block;
  }

  std::unique_ptr<Block, Release> block_;
};
