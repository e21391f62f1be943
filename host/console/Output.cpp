#include "host/console/Output.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <boost/asio/error.hpp>
#include <boost/asio/post.hpp>
#include <cerrno>
#include <csignal>
#include <system_error>
#include <utility>

namespace host {
namespace {

namespace asio = boost::asio;

constexpr std::size_t kMostAtOnce = std::size_t{64} << 10;
constexpr std::size_t kLeastSpace = 256;  // in a pipe or terminal that is writable, as a rule

bool IsWritable() {
  pollfd output{STDOUT_FILENO, POLLOUT, 0};
  return poll(&output, 1, 0) > 0;
}

/// Opens standard output's file once more, non-blocking. Returns -1 where that is not possible, for
/// example for the terminal of another user.
int OpenAgain() { return open("/proc/self/fd/1", O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC); }

}  // namespace

Output::Output(asio::io_context& io, OnWritten onWritten, OnFailed onFailed)
    : descriptor_(io), onWritten_(std::move(onWritten)), onFailed_(std::move(onFailed)) {
  std::signal(SIGPIPE, SIG_IGN);  // the write fails instead
  struct stat file {};
  if (fstat(STDOUT_FILENO, &file) != 0) return;
  if (S_ISSOCK(file.st_mode)) {
    kind_ = Kind::kSocket;
  } else if (S_ISFIFO(file.st_mode) || isatty(STDOUT_FILENO) != 0) {
    const int own = OpenAgain();
    kind_ = own >= 0 ? Kind::kNonBlocking : Kind::kShared;
    if (own >= 0) descriptor_.assign(own);
  }
  if (kind_ == Kind::kSocket || kind_ == Kind::kShared) descriptor_.assign(dup(STDOUT_FILENO));
}

void Output::Write(std::string_view text) {
  if (isGone_) return;
  waiting_ += text;
  if (!isAwaiting_) WriteSome();
}

void Output::Flush(std::chrono::milliseconds most) {
  const auto end = std::chrono::steady_clock::now() + most;
  while (GetWaiting() > 0) {
    WriteSome();
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        end - std::chrono::steady_clock::now());
    if (GetWaiting() == 0 || left.count() <= 0) break;
    pollfd output{STDOUT_FILENO, POLLOUT, 0};
    poll(&output, 1, static_cast<int>(left.count()));
  }
  if (GetWaiting() > 0) Fail(ETIMEDOUT);
}

void Output::WriteSome() {
  while (GetWaiting() > 0) {
    const long size = WriteOnce(std::string_view(waiting_).substr(written_, kMostAtOnce));
    if (size >= 0) {
      written_ += static_cast<std::size_t>(size);
    } else if (errno == EAGAIN) {
      break;
    } else if (errno != EINTR) {
      return Fail(errno);
    }
  }
  if (GetWaiting() == 0 || written_ > kMostAtOnce) {
    waiting_.erase(0, written_);
    written_ = 0;
  }
  if (GetWaiting() > 0) Await();
}

/// As `write`. Fails with EAGAIN where the call would block.
long Output::WriteOnce(std::string_view text) {
  switch (kind_) {
    case Kind::kNonBlocking:
      return write(descriptor_.native_handle(), text.data(), text.size());
    case Kind::kSocket:
      return send(STDOUT_FILENO, text.data(), text.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    case Kind::kShared:
      if (!IsWritable()) return errno = EAGAIN, -1;
      return write(STDOUT_FILENO, text.data(), std::min(text.size(), kLeastSpace));
    default:
      return write(STDOUT_FILENO, text.data(), text.size());
  }
}

void Output::Await() {
  if (std::exchange(isAwaiting_, true)) return;
  const int flags = fcntl(STDOUT_FILENO, F_GETFL);
  descriptor_.async_wait(asio::posix::descriptor_base::wait_write,
                         [this](const boost::system::error_code& error) {
                           if (error == asio::error::operation_aborted) return;
                           isAwaiting_ = false;
                           WriteSome();
                           onWritten_();
                         });
  // The wait makes the open file non-blocking, also for other processes that share it.
  if (kind_ != Kind::kNonBlocking) fcntl(STDOUT_FILENO, F_SETFL, flags);
}

void Output::Fail(int error) {
  waiting_.clear();
  written_ = 0;
  isGone_ = error == EPIPE || error == ECONNRESET || error == EIO;
  if (!failure_.empty()) return;
  failure_ = std::generic_category().message(error);
  asio::post(descriptor_.get_executor(), [this] { onFailed_(failure_); });
}

}  // namespace host
