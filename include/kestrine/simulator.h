// A measurement server with a tracker behind it that exists in memory only: it speaks the protocol over real
// sockets, keeps the state that a tracker keeps, takes the time that a tracker takes and measures targets whose
// places are stated. It is a library of its own, for test programs.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace kestrine::simulator {

struct Options {
  std::uint16_t port = 0;  // 0: a free one
  std::string address = "127.0.0.1";
  std::uint64_t seed = 1;        // of the measurement noise; the same seed and commands give the same values
  double time_scale = 1.0;       // of every duration; 0: everything at once, streams as fast as the socket takes them
  std::size_t block_points = 0;  // points in a continuous block, at most 1,000 and, with the probe, as many as a
                                 // client takes in one packet; 0: as many as 100 ms bring
};

// Serves from construction to destruction, on a thread of its own.
class Simulator {
 public:
  explicit Simulator(const Options& options);  // throws std::runtime_error when the port cannot be had
  ~Simulator();
  Simulator(const Simulator&) = delete;
  Simulator& operator=(const Simulator&) = delete;

  std::uint16_t port() const;

 private:
  class Service;
  std::unique_ptr<Service> service_;
};

}  // namespace kestrine::simulator
