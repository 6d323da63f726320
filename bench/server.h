// The server that all sides of a comparison talk to: blocking sockets, one thread, as little work as possible.
// It answers every request at once and follows a start of measurement with a burst of data packets.
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <thread>
#include <vector>

namespace kestrine::bench {

// Client and server share one core, so that a round trip counts work and not the luck of the scheduler.
void pin_to_one_core();

struct Burst {
  std::vector<std::uint8_t> bytes;  // of one write
  std::size_t writes = 0;
  std::chrono::microseconds pace{0};  // from write to write; 0 is as fast as they are taken
};

// Packets of 36 bytes: the reflector's position; `count` a multiple of 50.
Burst position_burst(std::size_t count);
// Packets of 36,048 bytes: a block of 1,000 continuous points.
Burst block_burst(std::size_t count);
// The reflector's position at 1 kHz, one packet a write.
Burst paced_positions(std::size_t count);

class Server {
 public:
  explicit Server(Burst burst = {});
  ~Server();
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  std::uint16_t port() const { return port_; }

 private:
  void serve();
  void serve_client(int client);

  Burst burst_;
  int listener_;
  std::uint16_t port_ = 0;
  std::atomic<bool> stopping_ = false;
  std::thread thread_;
};

// A plain client: blocking, no delay for small writes.
int connect_to(std::uint16_t port);
void send_request(int socket, std::int32_t command);
void read_exactly(int socket, void* into, std::size_t bytes);

// Waits until a socket has something to read.
class Readiness {
 public:
  explicit Readiness(int socket);
  ~Readiness();
  Readiness(const Readiness&) = delete;
  Readiness& operator=(const Readiness&) = delete;

  void wait();

 private:
  int set_;
};

// The hand-written loop that the library is measured against: wait, peek at the header, read the packet.
class PacketReader {
 public:
  explicit PacketReader(int socket) : socket_(socket), readiness_(socket), bytes_(131'072) {}

  void read_packet();

 private:
  int socket_;
  Readiness readiness_;
  std::vector<std::uint8_t> bytes_;
};

// The fastest that a program of one's own can be: wait, take with one read all that has come, and look at the packets
// where they lie.
class ReadAheadReader {
 public:
  explicit ReadAheadReader(int socket) : socket_(socket), readiness_(socket), bytes_(65'536) {}

  // How many whole packets one read brought.
  std::size_t read_packets();

 private:
  int socket_;
  Readiness readiness_;
  std::vector<std::uint8_t> bytes_;
  std::size_t held_ = 0;  // of a packet that has come in part
};

}  // namespace kestrine::bench
