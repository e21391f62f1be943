#include "host/web/Client.h"

#include <algorithm>
#include <boost/asio/buffer.hpp>
#include <boost/beast/core/buffers_to_string.hpp>
#include <exception>
#include <utility>
#include <vector>

#include "host/web/Headers.h"

namespace web {
namespace {

namespace websocket = boost::beast::websocket;
using boost::system::error_code;

/// A long line goes in frames of this many bytes, so that the progress of a slow client shows.
/// Lines that wait together go in one message, up to this cost.
constexpr std::size_t kFrameSize = std::size_t{64} << 10;

}  // namespace

Client::Client(Socket socket, std::string path, std::shared_ptr<Shared> shared,
               std::shared_ptr<const void> place)
    : path_(std::move(path)),
      shared_(std::move(shared)),
      backlog_(std::make_shared<Backlog>()),
      stream_(std::move(socket)),
      readTimer_(stream_.get_executor()),
      pauseTimer_(stream_.get_executor()),
      writeTimer_(stream_.get_executor()) {
  backlog_->connection = std::move(place);
  const Path& ofPath = shared_->paths[path_];
  backlog_->pathSize = ofPath.size;
  backlog_->client = ofPath.places.Take();
  const Limits& limits = shared_->limits;
  stream_.set_option(websocket::stream_base::timeout{limits.handshakeTime, limits.idleTime, true});
  stream_.set_option(websocket::stream_base::decorator([](websocket::response_type& response) {
    SetCommonHeaders(response);
    if (response.result() == boost::beast::http::status::switching_protocols) return;
    response.set(boost::beast::http::field::content_type, "text/plain; charset=utf-8");
  }));
  stream_.read_message_max(limits.messageSize);
  stream_.text(true);
  stream_.auto_fragment(false);
}

void Client::Start(Request request) {
  const auto kept = std::make_shared<const Request>(std::move(request));
  stream_.async_accept(*kept, [self = shared_from_this(), kept](error_code error) {
    if (error) return;
    self->isOpen_ = true;
    if (!self->Handle([&] { self->shared_->handlers.onClient(*self); })) return;
    self->ReadOn();
    self->GoOn();
  });
}

template <class Handler>
bool Client::Handle(const Handler& handler) {
  shared_->cause = backlog_;
  try {
    handler();
  } catch (const std::exception& error) {
    Close();
    shared_->problems->Report(std::string("a WebSocket was closed: ") + error.what());
  }
  shared_->cause.reset();
  return isOpen_;
}

void Client::Read() {
  stream_.async_read_some(received_, 0, [self = shared_from_this()](error_code error, std::size_t) {
    self->OnRead(error);
  });
}

void Client::OnRead(const error_code& error) {
  if (error) return EndAfterLines();
  if (!stream_.got_text()) {
    isBinaryRead_ = true;
    if (!isBusy_) RefuseBinary();
    return;
  }
  if (!stream_.is_message_done()) {
    if (!isInMessage_) SetDeadline(shared_->limits.messageTime);
    isInMessage_ = true;
    return Read();
  }
  if (isInMessage_) readTimer_.cancel();
  isInMessage_ = false;
  lines_.push_back(boost::beast::buffers_to_string(received_.data()));
  linesSize_ += lines_.back().size() + kLineOverhead;
  received_.clear();
  isReading_ = false;
  if (!std::exchange(isBusy_, true)) AskForTurn();
  ReadOn();
}

void Client::ReadOn() {
  if (!isOpen_ || isReading_ || hasEnded_ || linesSize_ > shared_->limits.messageSize) return;
  isReading_ = true;
  Read();
}

void Client::AskForTurn() noexcept {
  try {
    shared_->turns.Ask(stream_.get_executor(), turns_.IsIdle(),
                       [self = shared_from_this()] { self->OfferLine(); });
  } catch (const std::exception&) {  // memory has run out
    Close();
  }
}

void Client::OfferLine() {
  if (!isOpen_) return;
  const auto start = Turns::Clock::now();
  bool isTaken = false;
  if (!Handle([&] { isTaken = shared_->handlers.onLine(*this, lines_.front()); })) return;
  turns_.SetLast(Turns::Clock::now() - start);
  if (!isTaken && !hasEnded_) return Pause(&Client::AskForTurn);
  linesSize_ -= lines_.front().size() + kLineOverhead;
  lines_.pop_front();
  if (hasEnded_ && lines_.empty()) return Close();
  ReadOn();
  GoOn();
}

void Client::Pause(void (Client::*next)()) noexcept {
  try {
    pauseTimer_.expires_after(shared_->limits.pauseTime);
    pauseTimer_.async_wait([self = shared_from_this(), next](error_code) {
      if (self->isOpen_) ((*self).*next)();
    });
  } catch (const std::exception&) {  // likewise
    Close();
  }
}

void Client::GoOn() {
  // Otherwise a client that sends one message after the other would fill all queues, and others
  // would wait for their answers.
  isHeldBack_ = ownLines_ > 0 && !hasEnded_;
  if (isHeldBack_) return;
  const Limits& limits = shared_->limits;
  if (backlog_->size > (IsPathFull() ? limits.shareSize : limits.sentSize)) {
    return Pause(&Client::GoOn);
  }
  isBusy_ = !lines_.empty();
  if (isBusy_) {
    AskForTurn();
  } else if (isBinaryRead_) {
    RefuseBinary();
  }
}

void Client::RefuseBinary() {
  isOpen_ = false;
  DropQueue();
  SetDeadline(shared_->limits.handshakeTime);
  stream_.async_close({websocket::close_code::unknown_data, "text only"},
                      [self = shared_from_this()](error_code) { self->Close(); });
}

void Client::Send(const SharedLine& line) {
  Queue(std::make_shared<const QueuedLine>(line, shared_->cause));
}

void Client::Queue(const std::shared_ptr<const QueuedLine>& line) noexcept {
  if (!isOpen_ || hasEnded_) return;
  try {
    queue_.push_back(line);
    queueSize_ += line->GetCost();
    if (line->IsCausedBy(backlog_)) ++ownLines_;
    if (queue_.size() == 1) Write();
    if (queueSize_ > GetQueueLimit() && !isWatched_) WatchQueue();
  } catch (const std::exception&) {  // memory has run out
    Close();
  }
}

void Client::DropQueue() {
  const std::size_t kept = std::max<std::size_t>(ending_, 1);
  if (queue_.size() > kept) queue_.resize(kept);
}

void Client::Write() {
  const std::string& first = queue_.front()->GetText();
  const std::size_t size = std::min(first.size() - written_, kFrameSize);
  std::vector<boost::asio::const_buffer> buffers{{first.data() + written_, size}};
  const bool isWhole = written_ + size == first.size();
  ending_ = isWhole ? 1 : 0;
  std::size_t cost = queue_.front()->GetCost();
  for (; isWhole && written_ == 0 && ending_ < queue_.size(); ++ending_) {
    const QueuedLine& next = *queue_[ending_];
    cost += next.GetCost();
    if (cost > kFrameSize) break;
    buffers.emplace_back("\n", 1);
    buffers.push_back(boost::asio::buffer(next.GetText()));
  }
  stream_.async_write_some(isWhole, buffers,
                           [self = shared_from_this(), size = boost::asio::buffer_size(buffers)](
                               error_code error, std::size_t) { self->OnWritten(error, size); });
}

void Client::OnWritten(const error_code& error, std::size_t size) {
  written_ += size;
  taken_ += size;
  for (; ending_ > 0; --ending_) {
    queueSize_ -= queue_.front()->GetCost();
    if (queue_.front()->IsCausedBy(backlog_)) --ownLines_;
    taken_ += kLineOverhead;
    queue_.pop_front();
    written_ = 0;
  }
  if (error) {
    queue_.clear();
    return EndAfterLines();
  }
  if (!isOpen_) return;
  if (!queue_.empty()) Write();
  if (isHeldBack_) GoOn();
}

std::size_t Client::GetQueueLimit() const {
  return IsPathFull() ? shared_->limits.shareSize : shared_->limits.queueSize;
}

void Client::WatchQueue() {
  isWatched_ = true;
  taken_ = 0;
  writeTimer_.expires_after(shared_->limits.stallTime);
  writeTimer_.async_wait([weak = weak_from_this(), least = queueSize_ / 8](error_code error) {
    const auto self = weak.lock();
    if (error || !self || self->hasEnded_) return;
    self->isWatched_ = false;
    if (self->queueSize_ <= self->GetQueueLimit()) return;
    if (self->taken_ < least) return self->Close();
    self->WatchQueue();
  });
}

void Client::SetDeadline(std::chrono::milliseconds time) {
  readTimer_.expires_after(time);
  readTimer_.async_wait([weak = weak_from_this()](error_code error) {
    const auto self = weak.lock();
    // The timer may have expired just before it was set again, or before the message ended.
    if (error || !self || self->hasEnded_) return;
    if (self->readTimer_.expiry() > std::chrono::steady_clock::now()) return;
    if (self->isInMessage_ || !self->isOpen_) self->Close();
  });
}

void Client::EndAfterLines() {
  if (!isOpen_ || lines_.empty()) return Close();
  hasEnded_ = true;
  DropQueue();
  error_code ignored;
  stream_.next_layer().close(ignored);
  if (isHeldBack_) GoOn();
}

void Client::Close() {
  isOpen_ = false;
  DropQueue();
  error_code ignored;
  stream_.next_layer().close(ignored);
  readTimer_.cancel(ignored);
  pauseTimer_.cancel(ignored);
  writeTimer_.cancel(ignored);
}

}  // namespace web
