#pragma once

#include <cstddef>
#include <memory>

namespace web {

/// Places of one kind, such as those of connections. A copy of the token takes one until it is
/// destroyed.
class Places {
 public:
  std::shared_ptr<const void> Take() const { return token_; }
  std::size_t GetTaken() const { return static_cast<std::size_t>(token_.use_count()) - 1; }

 private:
  std::shared_ptr<const void> token_ = std::make_shared<char>();
};

}  // namespace web
