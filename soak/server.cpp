#include "soak/server.h"

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <stdexcept>
#include <thread>

#include "kestrine/continuous.h"

namespace kestrine::soak {
namespace {

constexpr std::size_t kMostTogether = 2'000;    // positions
constexpr std::size_t kLargestPiece = 60'000;   // bytes
constexpr std::size_t kPiecesToAPause = 2'000;  // on an average
constexpr std::size_t kLongestPause = 40;       // milliseconds
constexpr std::size_t kHeader = 8;
constexpr std::size_t kLargestRequest = 64;
constexpr std::size_t kAnswer = 16;

std::vector<std::uint8_t> packet(std::size_t size, VL_DataType type) {
  std::vector<std::uint8_t> bytes(size);
  wire::store_i32(bytes.data(), static_cast<std::int32_t>(size));
  wire::store_i32(&bytes[4], type);
  return bytes;
}

void append_position(std::vector<std::uint8_t>& bytes, std::int64_t number) {
  static const auto empty = packet(RecordTraits<ReflectorPosResultT>::size, VL_DT_ReflectorPosResult);
  bytes.insert(bytes.end(), empty.begin(), empty.end());
  wire::store_f64(&bytes[bytes.size() - 3 * sizeof(double)], static_cast<double>(number));
}

// Every point has the number for its time.
void append_block(std::vector<std::uint8_t>& bytes, std::int64_t number) {
  using Layout = ContinuousLayout<MultiMeasResultT>;
  constexpr std::size_t kTime = sizeof(std::int32_t);
  auto block = packet(Layout::first + kBlockPoints * Layout::size, VL_DT_MultiMeasResult);
  wire::store_i32(&block[Layout::count], kBlockPoints);
  for (std::size_t i = 0; i < kBlockPoints; ++i) {
    wire::store_i32(&block[Layout::first + i * Layout::size + kTime], static_cast<std::int32_t>(number));
  }
  bytes.insert(bytes.end(), block.begin(), block.end());
}

}  // namespace

Server::Server(std::int64_t packets) : packets_(packets), listener_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  auto* generic = reinterpret_cast<sockaddr*>(&address);
  socklen_t size = sizeof address;
  if (bind(listener_, generic, size) != 0 || listen(listener_, 1) != 0)
    throw std::runtime_error("no port to listen at");
  getsockname(listener_, generic, &size);
  port_ = ntohs(address.sin_port);
}

void Server::serve() {
  for (;;) {
    client_ = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    const int on = 1;
    setsockopt(client_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    // An answer that stands behind megabytes of packets would come too late on a slow machine.
    const int room = 128 * 1024;
    setsockopt(client_, SOL_SOCKET, SO_SNDBUF, &room, sizeof room);
    serve_client();
    close(client_);
  }
}

void Server::serve_client() {
  std::vector<std::uint8_t> bytes;
  answered_ = 0;
  if (!answer_request()) return;
  for (std::int64_t sent = 0; sent < packets_;) {
    bytes.clear();
    if (up_to(8) == 1) append_block(bytes, sent++);
    for (std::size_t more = up_to(kMostTogether); more > 0 && sent < packets_; --more) append_position(bytes, sent++);
    if (!send_in_pieces(bytes)) return;
  }
  while (answered_ < kCalls) {
    if (!answer_request()) return;
  }
  shutdown(client_, SHUT_WR);
  // What the client has not taken yet would be lost with a socket that closes on an unread request.
  char left = 0;
  while (recv(client_, &left, 1, 0) > 0) {
  }
}

bool Server::send_in_pieces(const std::vector<std::uint8_t>& bytes) {
  for (std::size_t at = 0; at < bytes.size();) {
    const std::size_t piece = std::min(up_to(up_to(2) == 1 ? 100 : kLargestPiece), bytes.size() - at);
    const ssize_t sent = send(client_, &bytes[at], piece, MSG_NOSIGNAL);
    if (sent <= 0) return false;
    at += static_cast<std::size_t>(sent);
    if (up_to(kPiecesToAPause) == 1) std::this_thread::sleep_for(std::chrono::milliseconds(up_to(kLongestPause)));
  }
  return !has_request() || answer_request();
}

bool Server::has_request() const {
  pollfd look{client_, POLLIN, 0};
  return poll(&look, 1, 0) == 1;
}

bool Server::answer_request() {
  std::array<std::uint8_t, kLargestRequest> request;
  const auto read = [&](std::size_t at, std::size_t size) {
    return recv(client_, &request[at], size, MSG_WAITALL) == static_cast<ssize_t>(size);
  };
  if (!read(0, kHeader)) return false;
  const auto size = static_cast<std::size_t>(wire::load_i32(request.data()));
  if (size > request.size() || !read(kHeader, size - kHeader)) return false;
  auto answer = packet(kAnswer, VL_DT_Command);
  std::copy_n(&request[kHeader], sizeof(std::int32_t), &answer[kHeader]);
  ++answered_;
  return send(client_, answer.data(), answer.size(), MSG_NOSIGNAL) == kAnswer;
}

}  // namespace kestrine::soak
