#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <utility>

#include "host/web/Limits.h"

namespace web {

/// A line on its way to one client or more, without a line end. UTF-8.
using SharedLine = std::shared_ptr<const std::string>;

/// What a client's messages have caused and is still queued, for that client or for others. It
/// outlives the client until then, and keeps the client's place: a client cannot shed its backlog
/// by connecting again.
struct Backlog {
  std::size_t size = 0;                            // bytes
  std::shared_ptr<std::size_t> pathSize;           // of all clients of its path, bytes
  std::shared_ptr<const void> connection, client;  // places; see `State`
};

/// A line in the queues of clients, counted once in the backlog of the client that caused it, until
/// the last of them has sent it.
class QueuedLine {
 public:
  /// `cause` is null for a line that no client caused.
  QueuedLine(SharedLine text, std::shared_ptr<Backlog> cause)
      : text_(std::move(text)), cause_(std::move(cause)) {
    if (!cause_) return;
    cause_->size += GetCost();
    *cause_->pathSize += GetCost();
  }
  ~QueuedLine() {
    if (!cause_) return;
    cause_->size -= GetCost();
    *cause_->pathSize -= GetCost();
  }
  QueuedLine(const QueuedLine&) = delete;
  QueuedLine& operator=(const QueuedLine&) = delete;

  const std::string& GetText() const { return *text_; }
  bool IsCausedBy(const std::shared_ptr<Backlog>& backlog) const { return cause_ == backlog; }
  /// In bytes.
  std::size_t GetCost() const { return text_->size() + kLineOverhead; }

 private:
  const SharedLine text_;
  const std::shared_ptr<Backlog> cause_;
};

}  // namespace web
