#include "host/web/Turns.h"

#include <boost/asio/post.hpp>
#include <utility>

namespace web {
namespace {

constexpr int kIdleFactor = 10;
constexpr std::chrono::milliseconds kIdleTime(100);

}  // namespace

bool Turns::History::IsIdle() const {
  const Clock::duration idle = Clock::now() - end_;
  return idle >= kIdleTime && idle >= kIdleFactor * cost_;
}

void Turns::History::SetLast(Clock::duration cost) {
  end_ = Clock::now();
  cost_ = cost;
}

void Turns::Ask(const boost::asio::any_io_executor& executor, bool isIdle, Turn turn) {
  QueuePtr queue = queue_.lock();
  const bool isNew = queue == nullptr;
  if (isNew) queue_ = queue = std::make_shared<Queue>();
  (isIdle ? queue->idle : queue->busy).push_back(std::move(turn));
  if (isNew) Schedule(executor, std::move(queue));
}

void Turns::Schedule(const boost::asio::any_io_executor& executor, QueuePtr queue) {
  boost::asio::post(executor, [executor, queue = std::move(queue)]() mutable {
    Run(executor, std::move(queue));
  });
}

void Turns::Run(const boost::asio::any_io_executor& executor, QueuePtr queue) {
  const bool isIdle = !queue->idle.empty() && (!queue->wasIdle || queue->busy.empty());
  queue->wasIdle = isIdle;
  std::deque<Turn>& turns = isIdle ? queue->idle : queue->busy;
  const Turn turn = std::move(turns.front());
  turns.pop_front();
  // Before the turn, which may throw, and may ask for another.
  if (queue->idle.empty() && queue->busy.empty()) {
    queue.reset();
  } else {
    Schedule(executor, std::move(queue));
  }
  turn();
}

}  // namespace web
