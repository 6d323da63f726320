// A server that sends numbered packets in the worst of manners, and loses none: cut anywhere, with pauses anywhere, and
// gone as soon as it has sent all.
#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

namespace kestrine::soak {

inline constexpr std::size_t kBlockPoints = 1'000;

inline constexpr int kCalls = 20;  // of a client, on one connection

// Positions and, now and then, a block of continuous points; a packet's number, from 0, is its first coordinate, or the
// time of its points. They begin with the client's first request. Requests are answered in between.
class Server {
 public:
  // So many packets to each client that comes.
  explicit Server(std::int64_t packets);

  std::uint16_t port() const { return port_; }
  [[noreturn]] void serve();

 private:
  void serve_client();
  // False when the client has gone.
  bool send_in_pieces(const std::vector<std::uint8_t>& bytes);
  bool answer_request();
  bool has_request() const;
  std::size_t up_to(std::size_t most) { return 1 + random_() % most; }

  const std::int64_t packets_;
  int listener_;
  int client_ = -1;
  int answered_ = 0;
  std::uint16_t port_ = 0;
  std::minstd_rand random_{20'261};
};

}  // namespace kestrine::soak
