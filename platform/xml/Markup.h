#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string_view>
#include <utility>

namespace qx {

/// XML text in the making. Its pieces are many and small; appending one costs little more than
/// copying it, which cannot be said of a `std::string`. Appending throws `std::bad_alloc` and
/// changes nothing then.
class Markup {
 public:
  std::size_t GetSize() const { return size_; }
  bool IsEmpty() const { return size_ == 0; }
  std::string_view GetText(std::size_t from = 0) const {
    return {text_.get() + from, size_ - from};
  }

  /// Makes room for `size` bytes in all.
  void Reserve(std::size_t size) {
    if (size > capacity_) Grow(size);
  }
  /// Appends `size` bytes, which the caller is to write, and returns where.
  char* Extend(std::size_t size) {
    // At least doubled: else a long list would be copied once for each of its elements.
    if (size > capacity_ - size_) Grow(std::max({size_ + size, 2 * capacity_, kLeastCapacity}));
    size_ += size;
    return text_.get() + size_ - size;
  }
  void Append(std::string_view piece) {
    std::copy(piece.begin(), piece.end(), Extend(piece.size()));
  }
  void Append(char c) { *Extend(1) = c; }
  /// Takes back what was appended since the size was `size`.
  void Truncate(std::size_t size) { size_ = size; }

 private:
  static constexpr std::size_t kLeastCapacity = 64;

  void Grow(std::size_t capacity) {
    std::unique_ptr<char[]> text(new char[capacity]);
    std::copy_n(text_.get(), size_, text.get());
    text_ = std::move(text);
    capacity_ = capacity;
  }

  std::unique_ptr<char[]> text_;
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;
};

}  // namespace qx
