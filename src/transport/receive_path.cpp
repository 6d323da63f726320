#include "transport/receive_path.h"

#include <algorithm>

#include "kestrine/wire.h"

namespace kestrine::transport {
namespace {

constexpr std::int32_t kHeaderBytes = 8;
constexpr std::int32_t kMostPeeks = 30;
constexpr std::int32_t kMostReads = 64;      // for one packet
constexpr std::int32_t kMostDiscards = 128;  // reads for a packet and for throwing away, together

}  // namespace

// Some or none of a header came. True when there is still hope for the rest.
bool ReceivePath::take_short_header(int peeked, ReceivePort& port, bool connected) {
  if (peeked == -1) {
    if (!port.would_block() && connected) {
      port.beep(1000, 200);
      port.trace(u"recv1", u"not able to get header (peek)");
    }
    port.nap();
  } else if (peeked > 0) {
    // The bytes must leave the socket: a full receive buffer would keep the peer from sending the rest. They go
    // to the front whatever was held before, so a header in three pieces is lost.
    held_ = std::max(port.receive(header_.data(), peeked, false), 0);
    if (held_ != 4) {
      port.beep(1000, 200);
      port.trace(u"recv6", u"unecpected packet boundary (peek)");
    }
  }
  if (peek_tries_ < kMostPeeks) return true;
  port.trace(u"recv2", u"gave up after 30 retries (peek)");
  return false;
}

bool ReceivePath::on_readable(CLTConnectBase& connection, ReceivePort& port) {
  const int peeked = port.receive(header_.data() + held_, kHeaderBytes - held_, true);
  ++peek_tries_;
  bool ok = true;
  if (peeked + held_ < kHeaderBytes) {
    if (take_short_header(peeked, port, connection.socket != 0)) return true;
    ok = false;
  }
  peek_tries_ = 0;
  attempts_ = 0;

  const std::int32_t size = wire::load_i32(header_.data());
  const std::int32_t type = wire::load_i32(header_.data() + 4);
  const CLTConnectBase::Buffer buffer = connection.buffer_for(type);
  const bool valid =
      ok && peeked + held_ == kHeaderBytes && size >= kHeaderBytes && size < buffer.capacity && type >= 0;
  std::int32_t have = held_;
  std::copy_n(header_.data(), held_, buffer.bytes);
  held_ = 0;
  if (!valid) return discard_input(connection, port, buffer);

  const Body body = read_body(port, buffer.bytes, size, have);
  if (body == Body::kNothingRead) return true;
  connection.received_packet = buffer.bytes;
  connection.received_length = have;
  if (body == Body::kGivenUp) return discard_input(connection, port, buffer);
  connection.slots.dispatcher->DispatchPacket(connection, buffer.bytes, buffer.capacity, have);
  return true;
}

// Waits for the rest of the packet as long as it takes: only reads that brought data or an error are counted.
// A peer that has gone reads as nothing again and again, which is counted by itself.
ReceivePath::Body ReceivePath::read_body(ReceivePort& port, std::uint8_t* buffer, std::int32_t size,
                                         std::int32_t& have) {
  std::int32_t empty_reads = 0;
  while (have < size) {
    const int got = port.receive(buffer + have, size - have, false);
    bool counted = true;
    if (got == -1) {
      counted = !port.would_block();
      port.nap();
      if (counted) {
        port.beep(1000, 200);
        port.trace(u"recv3", u"unknown socket reading error");
      }
    } else if (got == 0) {
      port.nap();
      counted = ++empty_reads > kMostReads;
      if (counted) attempts_ = kMostReads;
    }
    const bool give_up = counted && ++attempts_ > kMostReads;
    if (give_up && have == 0) return Body::kNothingRead;
    have += std::max(got, 0);
    if (give_up) return Body::kGivenUp;
  }
  return Body::kComplete;
}

bool ReceivePath::on_unknown_event(CLTConnectBase& connection, ReceivePort& port) {
  attempts_ = 0;
  return discard_input(connection, port, {nullptr, 0});
}

// The stream is out of step: a waiting call ends, and what can be read now is thrown away.
bool ReceivePath::discard_input(CLTConnectBase& connection, ReceivePort& port, CLTConnectBase::Buffer buffer) {
  port.trace(u"recv4", u"unknown socket reading error");
  if (SyncCommands* sync = connection.slots.current_sync) sync->ReleaseAfterAnswer();
  while (++attempts_ <= kMostDiscards) {
    const int got = port.receive(buffer.bytes, buffer.capacity, false);
    if (got == -1) port.nap();
    if (got <= 0) break;
  }
  port.beep(250, 10);
  return false;
}

}  // namespace kestrine::transport
