#include "connection/packet_reader.h"

#include <algorithm>
#include <utility>

#include "kestrine/wire.h"

namespace kestrine::connection {
namespace {

constexpr std::int32_t kMostPeeks = 30;
constexpr std::int32_t kMostReads = 64;      // for one packet
constexpr std::int32_t kReadsAtOnce = 16;    // before more is waited for
constexpr std::int32_t kLongestNap = 16;     // milliseconds
constexpr std::int32_t kMostDiscards = 128;  // reads for a packet and for throwing away, together

}  // namespace

// Some or none of a header came. True while the rest may still come.
bool PacketReader::take_short_header(int peeked) {
  if (peeked == -1) {
    if (!source_.would_block() && source_.is_open()) {
      source_.beep(1000, 200);
      source_.trace(u"recv1", u"not able to get header (peek)");
    }
    source_.nap(1);
  } else if (peeked > 0) {
    // The bytes must leave the socket: a full receive buffer would keep the peer from sending the rest. They go
    // to the front whatever was held before, so a header in three pieces is lost: kept.
    held_ = std::max(source_.receive(header_.data(), peeked, false), 0);
    if (held_ != 4) {
      source_.beep(1000, 200);
      source_.trace(u"recv6", u"unecpected packet boundary (peek)");
    }
  }
  if (peek_tries_ < kMostPeeks) return true;
  source_.trace(u"recv2", u"gave up after 30 retries (peek)");
  return false;
}

bool PacketReader::on_readable(ReceiveBuffers& buffers) {
  const int peeked = source_.receive(header_.data() + held_, kHeaderBytes - held_, true);
  if (peeked > 0 && peeked + held_ < kHeaderBytes && source_.comes_later(kHeaderBytes)) return true;
  ++peek_tries_;
  bool ok = true;
  if (peeked + held_ < kHeaderBytes) {
    if (take_short_header(peeked)) return true;
    ok = false;
  }
  peek_tries_ = 0;
  attempts_ = 0;

  const std::int32_t size = wire::load_i32(header_.data() + kSizeOffset);
  const std::int32_t type = wire::load_i32(header_.data() + kTypeOffset);
  const ReceiveBuffers::Buffer buffer = buffers.for_type(type);
  const bool valid = ok && size >= kHeaderBytes && size < buffer.capacity && type >= 0;
  if (valid && source_.comes_later(size - held_)) return true;
  std::int32_t have = held_;
  std::copy_n(header_.data(), held_, buffer.bytes);
  held_ = 0;
  if (!valid) return discard_input(buffer);

  const Body body = read_body(buffer.bytes, size, have);
  if (body == Body::kNothingRead) return true;
  buffers.set_latest({buffer.bytes, static_cast<std::size_t>(have)});
  if (body == Body::kGivenUp) return discard_input(buffer);
  consumer_.on_packet({buffer.bytes, buffer.capacity, have});
  return true;
}

// Waits for the rest of the packet as long as it takes: only reads that brought data or an error are counted.
// A peer that has gone reads as nothing again and again, which is counted by itself. The naps grow, so that a slow line
// does not use up the reads.
PacketReader::Body PacketReader::read_body(std::uint8_t* buffer, std::int32_t size, std::int32_t& have) {
  std::int32_t empty_reads = 0;
  std::int32_t next_nap = 1;
  const auto nap = [&] { return source_.nap(std::exchange(next_nap, std::min(next_nap * 2, kLongestNap))); };
  while (have < size) {
    const int got = source_.receive(buffer + have, size - have, false);
    bool counted = true;
    if (got == -1) {
      counted = !source_.would_block();
      if (counted) {
        source_.beep(1000, 200);
        source_.trace(u"recv3", u"unknown socket reading error");
      }
      if (!nap()) return Body::kGivenUp;
    } else if (got == 0) {
      source_.nap(1);
      counted = ++empty_reads > kMostReads;
      if (counted) attempts_ = kMostReads;
    } else if (attempts_ >= kReadsAtOnce && have + got < size) {
      // Small segments that come as fast as they are read must not use up the reads either.
      nap();
    }
    const bool give_up = counted && ++attempts_ > kMostReads;
    if (give_up && have == 0) return Body::kNothingRead;
    have += std::max(got, 0);
    if (give_up) return Body::kGivenUp;
  }
  return Body::kComplete;
}

void PacketReader::restart() {
  peek_tries_ = 0;
  held_ = 0;
  header_ = {};
  attempts_ = 0;
}

bool PacketReader::on_unknown_event() {
  attempts_ = 0;
  return discard_input({nullptr, 0});
}

// The stream is out of step: a waiting call ends, and what can be read now is thrown away.
bool PacketReader::discard_input(ReceiveBuffers::Buffer buffer) {
  source_.trace(u"recv4", u"unknown socket reading error");
  consumer_.on_out_of_step();
  while (++attempts_ <= kMostDiscards) {
    const int got = source_.receive(buffer.bytes, buffer.capacity, false);
    if (got == -1) source_.nap(1);
    if (got <= 0) break;
  }
  source_.beep(250, 10);
  return false;
}

}  // namespace kestrine::connection
