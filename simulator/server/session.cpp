#include "simulator/server/session.h"

#include <utility>

#include "kestrine/enums.h"
#include "kestrine/wire.h"
#include "simulator/commands/commands.h"
#include "simulator/tracker/inventory.h"
#include "simulator/tracker/tracker.h"

namespace kestrine::simulator {
namespace {

constexpr std::size_t kHead = 12;           // size, type, command
constexpr std::size_t kMostRequest = 4096;  // far above every request
// Bytes that wait for the client: below the first a stream goes on, above the second no more commands are taken,
// above the third, which only what others cause can reach, the client is given up.
constexpr std::size_t kCaughtUp = 128 * 1024;
constexpr std::size_t kMostAnswers = 512 * 1024;
constexpr std::size_t kMostUnread = 768 * 1024;

std::int32_t command_of(const Bytes& packet) {
  return wire::load_i32(packet.data() + 8);
}

}  // namespace

Session::Session(asio::ip::tcp::socket socket, Tracker& tracker) : socket_(std::move(socket)), tracker_(tracker) {
  asio::error_code ignored;
  socket_.set_option(asio::ip::tcp::no_delay(true), ignored);
  // Without a bound the system takes megabytes before anything here sees that the client does not read.
  socket_.set_option(asio::socket_base::send_buffer_size(256 * 1024), ignored);
}

void Session::start() {
  tracker_.join(shared_from_this());
  read_head();
}

// Nothing is read while enough waits to be done or to be taken; whoever works that off comes back here.
void Session::read_head() {
  if (is_reading_ || is_closing_ || commands_.size() >= kCommandQueueSize || backlog_ > kMostAnswers) return;
  is_reading_ = true;
  incoming_.resize(kHead);
  asio::async_read(socket_, asio::buffer(incoming_), [self = shared_from_this()](asio::error_code error, std::size_t) {
    if (error) return self->give_up();
    const auto size = static_cast<std::size_t>(wire::load_u32(self->incoming_.data()));
    // After a wrong size nobody knows where the next packet begins.
    if (size < kHead || size > kMostRequest) return self->give_up();
    self->read_rest(size);
  });
}

void Session::read_rest(std::size_t size) {
  incoming_.resize(size);
  asio::async_read(socket_, asio::buffer(incoming_) + kHead,
                   [self = shared_from_this()](asio::error_code error, std::size_t) {
                     if (error) return self->give_up();
                     self->is_reading_ = false;
                     self->accept(std::exchange(self->incoming_, {}));
                     self->read_head();
                   });
}

void Session::accept(Bytes packet) {
  // Clearing the queue is the one command that does not queue up itself.
  if (command_of(packet) == VL_C_ClearCommandQueue) commands_.clear();
  commands_.push_back(std::move(packet));
  if (!is_executing_) next_command();
}

// One command at a time and in the order of their coming, however long each takes.
void Session::next_command() {
  if (commands_.empty() || is_executing_ || is_closing_) return;
  is_executing_ = true;
  Bytes packet = std::move(commands_.front());
  commands_.pop_front();
  execute(tracker_, shared_from_this(), std::move(packet));
}

void Session::answered() {
  is_executing_ = false;
  asio::post(socket_.get_executor(), [self = shared_from_this()] {
    self->next_command();
    self->read_head();
  });
}

void Session::send(Bytes packet) {
  if (!socket_.is_open()) return;
  backlog_ += packet.size();
  outgoing_.push_back(std::move(packet));
  if (outgoing_.size() == 1) write();
  if (backlog_ > kMostUnread) socket_.cancel();  // the pending write fails, and that is the end
}

void Session::write() {
  asio::async_write(
      socket_, asio::buffer(outgoing_.front()),
      [self = shared_from_this()](asio::error_code error, std::size_t size) { self->written(error, size); });
}

void Session::written(const asio::error_code& error, std::size_t size) {
  if (error) return give_up();
  backlog_ -= size;
  outgoing_.pop_front();
  if (!outgoing_.empty()) {
    write();
  } else if (is_closing_) {
    return give_up();
  }
  read_head();
  if (backlog_ <= kCaughtUp) tracker_.caught_up(*this);
}

void Session::close() {
  is_closing_ = true;
  if (outgoing_.empty()) give_up();
}

void Session::give_up() {
  is_closing_ = true;
  asio::error_code ignored;
  socket_.shutdown(asio::ip::tcp::socket::shutdown_both, ignored);
  socket_.close(ignored);
  tracker_.leave(*this);
}

}  // namespace kestrine::simulator
