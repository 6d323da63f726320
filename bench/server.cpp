#include "bench/server.h"

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <sched.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "bench/packets.h"

namespace kestrine::bench {
namespace {

constexpr std::size_t kRequest = 12;
constexpr std::size_t kAnswer = 16;
constexpr std::size_t kHeader = 8;
constexpr std::size_t kBlockPoints = 1000;
constexpr std::size_t kPositionsTogether = 50;

[[noreturn]] void give_up(const char* what) {
  std::perror(what);
  std::exit(1);
}

void no_delay(int socket) {
  const int on = 1;
  setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

sockaddr_in loopback(std::uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(port);
  return address;
}

bool send_all(int socket, const std::uint8_t* from, std::size_t bytes) {
  while (bytes > 0) {
    const ssize_t sent = send(socket, from, bytes, MSG_NOSIGNAL);
    if (sent <= 0) return false;
    from += sent;
    bytes -= static_cast<std::size_t>(sent);
  }
  return true;
}

std::vector<std::uint8_t> position() {
  std::vector<std::uint8_t> packet(RecordTraits<ReflectorPosResultT>::size);
  wire::store_i32(packet.data(), static_cast<std::int32_t>(packet.size()));
  wire::store_i32(&packet[4], VL_DT_ReflectorPosResult);
  return packet;
}

bool receive_all(int socket, std::uint8_t* into, std::size_t bytes) {
  return recv(socket, into, bytes, MSG_WAITALL) == static_cast<ssize_t>(bytes);
}

}  // namespace

void pin_to_one_core() {
  cpu_set_t cores;
  CPU_ZERO(&cores);
  CPU_SET(0, &cores);
  if (sched_setaffinity(0, sizeof cores, &cores) != 0) give_up("pinning to one core");
}

// Many to a write: else every packet is a switch between the two threads, and nothing else can be seen.
Burst position_burst(std::size_t count) {
  const std::vector<std::uint8_t> packet = position();
  std::vector<std::uint8_t> together;
  for (std::size_t i = 0; i < kPositionsTogether; ++i) together.insert(together.end(), packet.begin(), packet.end());
  return {together, count / kPositionsTogether};
}

Burst paced_positions(std::size_t count) {
  return {position(), count, std::chrono::milliseconds(1)};
}

Burst block_burst(std::size_t count) {
  return {block_of<MultiMeasResultT>(kBlockPoints), count};
}

Server::Server(Burst burst) : burst_(std::move(burst)), listener_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  sockaddr_in address = loopback(0);
  socklen_t size = sizeof address;
  auto* generic = reinterpret_cast<sockaddr*>(&address);
  if (bind(listener_, generic, size) != 0 || listen(listener_, 64) != 0) give_up("listening");
  getsockname(listener_, generic, &size);
  port_ = ntohs(address.sin_port);
  thread_ = std::thread([this] { serve(); });
}

Server::~Server() {
  stopping_ = true;
  shutdown(listener_, SHUT_RDWR);
  thread_.join();
  close(listener_);
}

void Server::serve() {
  while (!stopping_) {
    const int client = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (client < 0) continue;
    no_delay(client);
    serve_client(client);
    close(client);
  }
}

void Server::serve_client(int client) {
  std::array<std::uint8_t, kRequest + 128> request;
  while (receive_all(client, request.data(), kHeader)) {
    const auto size = static_cast<std::size_t>(wire::load_i32(request.data()));
    if (size > request.size() || !receive_all(client, &request[kHeader], size - kHeader)) return;
    std::array<std::uint8_t, kAnswer> answer{};
    wire::store_i32(answer.data(), kAnswer);
    const std::int32_t command = wire::load_i32(&request[8]);
    wire::store_i32(&answer[8], command);
    if (!send_all(client, answer.data(), answer.size())) return;
    if (command != VL_C_StartMeasurement) continue;
    auto next = std::chrono::steady_clock::now();
    for (std::size_t i = 0; i < burst_.writes; ++i) {
      if (burst_.pace.count() != 0) std::this_thread::sleep_until(next += burst_.pace);
      if (!send_all(client, burst_.bytes.data(), burst_.bytes.size())) return;
    }
  }
}

int connect_to(std::uint16_t port) {
  const int client = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const sockaddr_in address = loopback(port);
  if (connect(client, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) give_up("connecting");
  no_delay(client);
  const int receive_buffer = 256 * 1024;  // as the library has it
  setsockopt(client, SOL_SOCKET, SO_RCVBUF, &receive_buffer, sizeof receive_buffer);
  return client;
}

void send_request(int socket, std::int32_t command) {
  std::array<std::uint8_t, kRequest> request{};
  wire::store_i32(request.data(), kRequest);
  wire::store_i32(&request[8], command);
  if (!send_all(socket, request.data(), request.size())) give_up("sending");
}

void read_exactly(int socket, void* into, std::size_t bytes) {
  if (!receive_all(socket, static_cast<std::uint8_t*>(into), bytes)) give_up("receiving");
}

Readiness::Readiness(int socket) : set_(epoll_create1(EPOLL_CLOEXEC)) {
  epoll_event readable{};
  readable.events = EPOLLIN;
  if (epoll_ctl(set_, EPOLL_CTL_ADD, socket, &readable) != 0) give_up("waiting");
}

Readiness::~Readiness() {
  close(set_);
}

void Readiness::wait() {
  epoll_event ready;
  while (epoll_wait(set_, &ready, 1, -1) != 1) {
  }
}

void PacketReader::read_packet() {
  std::array<std::uint8_t, kHeader> header;
  do {
    readiness_.wait();
  } while (recv(socket_, header.data(), kHeader, MSG_PEEK) < static_cast<ssize_t>(kHeader));
  read_exactly(socket_, bytes_.data(), static_cast<std::size_t>(wire::load_i32(header.data())));
}

std::size_t ReadAheadReader::read_packets() {
  readiness_.wait();
  const ssize_t came = recv(socket_, &bytes_[held_], bytes_.size() - held_, 0);
  if (came <= 0) give_up("receiving");
  const std::size_t end = held_ + static_cast<std::size_t>(came);
  std::size_t packets = 0, at = 0;
  while (end - at >= kHeader) {
    const auto size = static_cast<std::size_t>(wire::load_i32(&bytes_[at]));
    if (end - at < size) break;
    at += size;
    ++packets;
  }
  held_ = end - at;
  std::memmove(bytes_.data(), &bytes_[at], held_);
  return packets;
}

}  // namespace kestrine::bench
