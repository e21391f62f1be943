#pragma once

#include <boost/asio/any_io_executor.hpp>
#include <chrono>
#include <deque>
#include <functional>
#include <memory>

namespace web {

/// The order in which clients' lines are passed on: one in each turn of the event loop, by turns
/// one of a client that was idle and one of another, each in the order of their coming. A client
/// has one line at most that waits. So one that sends little waits for those of the others that
/// send little, and for as many of all that send much, not for one of each of these.
class Turns {
 public:
  using Clock = std::chrono::steady_clock;
  /// Passes a client's line on.
  using Turn = std::function<void()>;

  /// The last turn that one client had.
  class History {
   public:
    /// Whether it ended 100 ms ago, and ten times as long ago as it took.
    bool IsIdle() const;
    /// To be called at its end.
    void SetLast(Clock::duration cost);

   private:
    Clock::time_point end_ = Clock::now();
    Clock::duration cost_{0};
  };

  /// Calls `turn` later, from `executor`. What it throws passes out of the run of the executor; the
  /// other turns follow then.
  void Ask(const boost::asio::any_io_executor& executor, bool isIdle, Turn turn);

 private:
  struct Queue {
    std::deque<Turn> idle, busy;  // of clients that were idle, and of the others
    bool wasIdle = false;         // the last turn's client
  };
  using QueuePtr = std::shared_ptr<Queue>;

  static void Schedule(const boost::asio::any_io_executor& executor, QueuePtr queue);
  static void Run(const boost::asio::any_io_executor& executor, QueuePtr queue);

  std::weak_ptr<Queue>
      queue_;  // while there are turns, `executor` has it, so that they end with it
};

}  // namespace web
