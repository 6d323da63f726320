// A server made of bytes: it listens on loopback, hands the test what the client sent, and sends what the test
// says, cut as the test says. The client is a socket of the same process.
//
// Everything happens on the calling thread but for scripts (run, serve), which have a thread of their own
// so that the test's thread can wait inside the library meanwhile. There is one script at a time: starting
// one waits for the one before, which must therefore be one that ends by itself. serve() ends with the connection.
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <span>
#include <thread>
#include <utility>
#include <vector>

#include "kestrine/enums.h"

namespace kestrine::test {

using Bytes = std::vector<std::uint8_t>;

// A packet of that size and type, zero but for its header.
Bytes packet(std::int32_t size, std::int32_t type);
// One whose every byte behind the header is known.
Bytes filled(std::int32_t size, std::int32_t type);
// A 16-byte answer or error packet.
Bytes answer(std::int32_t command, std::int32_t status, std::int32_t type = VL_DT_Command);
// A good answer that brings one number.
Bytes answer_with(std::int32_t command, std::int32_t number);
// A result of that type, whose first value is the one given.
Bytes result(std::int32_t type, std::int32_t status = 0, double value = 0);
Bytes status_change(std::int32_t change);
// A request with what follows its first 12 bytes.
Bytes request(std::int32_t command, const Bytes& parameters);
void put_i32(Bytes& bytes, std::size_t offset, std::int32_t value);
void put_f64(Bytes& bytes, std::size_t offset, double value);
std::int32_t get_i32(std::span<const std::uint8_t> bytes, std::size_t offset);
Bytes operator+(Bytes first, const Bytes& second);
std::pair<Bytes, Bytes> cut(const Bytes& bytes, std::size_t at);

// A port of loopback on which nobody listens.
std::uint16_t unused_port();

class ScriptedPeer {
 public:
  using Script = std::function<void(ScriptedPeer&)>;
  using Reply = std::function<Bytes(const Bytes& request)>;

  explicit ScriptedPeer(std::uint16_t port = 0);  // at a free port, or where an earlier one was
  ~ScriptedPeer();
  ScriptedPeer(const ScriptedPeer&) = delete;
  ScriptedPeer& operator=(const ScriptedPeer&) = delete;

  std::uint16_t port() const { return port_; }

  // Takes the client that has connected, in place of an earlier one; fails the test when none does in time.
  void accept();
  // The next `count` bytes that the client sent; fails the test when they do not come in time.
  Bytes receive(std::size_t count);
  // The next request whole, framed by its own size.
  Bytes receive_request();
  // True when the client has sent nothing that was not received yet.
  bool nothing_to_receive() const { return !wait_readable(client_, {}); }
  // True when the client closes its end in time; what it sent before is thrown away.
  bool client_leaves();
  // The client's own socket.
  int client_descriptor() const { return client_descriptor_; }
  // True when nothing of what was sent waits to be read by the client.
  bool client_has_read_all() const;

  // What a client that has left does not take is dropped in silence; one that does not read fails the test.
  void send(std::span<const std::uint8_t> bytes);

  void run(Script script);
  // Answers every request from now on with what `reply` returns for it; nothing for an empty reply. `reply` is
  // called on the script's thread.
  void serve(Reply reply);
  // What serve() has received so far.
  std::vector<Bytes> requests() const;
  // Waits for the script's end.
  void finish() {
    if (script_.joinable()) script_.join();
  }

  void half_close();                   // sends nothing any more, and goes on reading
  void close() { end_client(false); }  // in good order
  void reset() { end_client(true); }   // at once: what the client has not read yet is lost

 private:
  bool wait_readable(int descriptor, std::chrono::milliseconds time) const;
  // False at the end of the connection, or when the bytes do not come in time.
  bool read_exactly(std::uint8_t* into, std::size_t count);
  bool read_request(Bytes& request);
  void end_client(bool at_once);

  std::atomic<int> client_ = -1;
  int client_descriptor_ = -1;
  std::uint16_t port_ = 0;
  int listener_;
  std::thread script_;
  std::mutex client_lock_;  // between a script that ends the connection and a test that does
  mutable std::mutex requests_lock_;
  std::vector<Bytes> requests_;
};

}  // namespace kestrine::test
