#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace host {

/// Standard output, without blocking: what its reader does not take yet waits in a queue. Leaves
/// the shared open file in the mode that it has, for the shell and for other processes. Ignores
/// SIGPIPE in the whole process.
class Output {
 public:
  using OnWritten = std::function<void()>;
  using OnFailed = std::function<void(const std::string& reason)>;

  /// Calls both from `io`'s run: `onWritten` when a part of the queue has been written, `onFailed`
  /// once, when a write fails for the first time.
  Output(boost::asio::io_context& io, OnWritten onWritten, OnFailed onFailed);
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;

  /// Writes the text, or queues what cannot be written yet. Discards it when the reader is gone.
  void Write(std::string_view text);
  /// The size of the queue, in bytes.
  std::size_t GetWaiting() const { return waiting_.size() - written_; }
  /// Writes the queue, and waits for the reader so long at most. Discards the rest. To be called
  /// after `io`'s run.
  void Flush(std::chrono::milliseconds most);

  /// Why the first write that failed did so; "" if none failed.
  const std::string& GetFailure() const { return failure_; }
  /// Whether there is no reader any more.
  bool IsGone() const { return isGone_; }

 private:
  enum class Kind {
    kNonBlocking,  // an open file of our own
    kSocket,       // written with a flag for each call
    kShared,       // a terminal or pipe that cannot be opened again
    kFile,         // never waits for a reader
  };

  void WriteSome();
  long WriteOnce(std::string_view text);
  void Await();
  void Fail(int error);

  boost::asio::posix::stream_descriptor descriptor_;
  const OnWritten onWritten_;
  const OnFailed onFailed_;
  Kind kind_ = Kind::kFile;
  std::string waiting_;
  std::size_t written_ = 0;  // of `waiting_`
  bool isAwaiting_ = false;
  bool isGone_ = false;
  std::string failure_;
};

}  // namespace host
