// From readable bytes to whole packets: one packet per notification, framed by the size in its header, read into the
// buffer for its kind. Allocates nothing.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "connection/receive_buffers.h"

namespace kestrine::connection {

// The header that begins every packet: its size, itself included, and its data type.
inline constexpr std::int32_t kSizeOffset = 0;
inline constexpr std::int32_t kTypeOffset = 4;
inline constexpr std::int32_t kHeaderBytes = 8;

// One packet in its buffer, of which it fills the first `length` bytes.
struct ReceivedPacket {
  const std::uint8_t* bytes;
  std::int32_t capacity;
  std::int32_t length;
};

class PacketConsumer {
 public:
  virtual void on_packet(const ReceivedPacket& packet) = 0;
  // The stream is out of step: no answer that is waited for can be trusted to come.
  virtual void on_out_of_step() = 0;

 protected:
  ~PacketConsumer() = default;
};

// Where the bytes come from and where the signs of trouble go.
class ByteSource {
 public:
  virtual bool is_open() const = 0;
  // As platform::receive: bytes, 0 at the peer's end, or -1.
  virtual int receive(void* into, int bytes, bool peek) = 0;
  virtual bool would_block() const = 0;  // of the last receive() that returned -1
  // True when so many bytes are not there yet and the next notification comes with them, so that nothing need be taken
  // before. False when they are there, when the peer has ended, or when the thread is to wait for them itself.
  virtual bool comes_later(int bytes) = 0;
  // False when the wait for the rest of a packet is to be given up.
  virtual bool nap(std::int32_t milliseconds) = 0;
  virtual void beep(std::uint32_t hertz, std::uint32_t milliseconds) = 0;
  // The latest trouble of a kind, kept in the settings file.
  virtual void trace(std::u16string_view key, std::u16string_view text) = 0;

 protected:
  ~ByteSource() = default;
};

class PacketReader {
 public:
  PacketReader(ByteSource& source, PacketConsumer& consumer) : source_(source), consumer_(consumer) {}

  // Reads what the notification announced; a whole packet goes to the consumer. False when the stream was out of step
  // and everything readable has been thrown away.
  bool on_readable(ReceiveBuffers& buffers);
  // The same clean-up for a notification that is neither of bytes nor of the closing.
  bool on_unknown_event();
  // A new stream begins with a whole header, whatever the one before left unfinished.
  void restart();

 private:
  enum class Body { kComplete, kNothingRead, kGivenUp };

  bool take_short_header(int peeked);
  Body read_body(std::uint8_t* buffer, std::int32_t size, std::int32_t& have);
  bool discard_input(ReceiveBuffers::Buffer buffer);

  ByteSource& source_;
  PacketConsumer& consumer_;
  std::int32_t peek_tries_ = 0;  // notifications in a row on which the header was not complete
  std::int32_t held_ = 0;        // header bytes already taken out of the source
  std::array<std::uint8_t, kHeaderBytes> header_{};
  std::int32_t attempts_ = 0;  // reads made for the packet at hand
};

}  // namespace kestrine::connection
