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
  (isIdle ? idle_ : busy_).push_back(std::move(turn));
  Schedule(executor);
}

void Turns::Schedule(const boost::asio::any_io_executor& executor) {
  if (isScheduled_ || (idle_.empty() && busy_.empty())) return;
  boost::asio::post(executor, [self = shared_from_this(), executor] { self->Run(executor); });
  isScheduled_ = true;
}

void Turns::Run(const boost::asio::any_io_executor& executor) {
  isScheduled_ = false;
  std::deque<Turn>& turns = idle_.empty() ? busy_ : idle_;
  const Turn turn = std::move(turns.front());
  turns.pop_front();
  Schedule(executor);  // before the turn, which may throw
  turn();
}

}  // namespace web
