#include "scripted_peer.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <linux/sockios.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <map>
#include <utility>

#include "kestrine/wire.h"

namespace kestrine::test {
namespace {

using namespace std::chrono_literals;

constexpr auto kPatience = 5s;
constexpr std::size_t kRequestHeader = 12;

// A socket bound to that port of loopback; to a free one for 0.
int bind_port(std::uint16_t& port) {
  const int descriptor = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const int on = 1;  // also while connections of the last one there linger
  ::setsockopt(descriptor, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  sockaddr_in at{};
  at.sin_port = htons(port);
  at.sin_family = AF_INET;
  at.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  EXPECT_EQ(::bind(descriptor, reinterpret_cast<sockaddr*>(&at), sizeof at), 0) << std::strerror(errno);
  socklen_t length = sizeof at;
  ::getsockname(descriptor, reinterpret_cast<sockaddr*>(&at), &length);
  port = ntohs(at.sin_port);
  return descriptor;
}

// The process's own socket whose address is the peer's of `descriptor`.
int other_end(int descriptor) {
  constexpr int kMostDescriptors = 1024;
  sockaddr_in wanted{};
  socklen_t length = sizeof wanted;
  ::getpeername(descriptor, reinterpret_cast<sockaddr*>(&wanted), &length);
  for (int each = 0; each < kMostDescriptors; ++each) {
    sockaddr_in at{};
    length = sizeof at;
    if (::getsockname(each, reinterpret_cast<sockaddr*>(&at), &length) == 0 && at.sin_family == AF_INET &&
        at.sin_port == wanted.sin_port) {
      return each;
    }
  }
  return -1;
}

}  // namespace

Bytes packet(std::int32_t size, std::int32_t type) {
  Bytes bytes(static_cast<std::size_t>(std::max(size, 8)));
  put_i32(bytes, 0, size);
  put_i32(bytes, 4, type);
  return bytes;
}

Bytes filled(std::int32_t size, std::int32_t type) {
  Bytes bytes = packet(size, type);
  for (std::size_t i = 8; i < bytes.size(); ++i) bytes[i] = static_cast<std::uint8_t>(i * 7 + 1);
  return bytes;
}

Bytes answer(std::int32_t command, std::int32_t status, std::int32_t type) {
  Bytes bytes = packet(16, type);
  put_i32(bytes, 8, command);
  put_i32(bytes, 12, status);
  return bytes;
}

Bytes answer_with(std::int32_t command, std::int32_t number) {
  Bytes bytes = answer(command, 0) + Bytes(4);
  put_i32(bytes, 0, 20);
  put_i32(bytes, 16, number);
  return bytes;
}

Bytes result(std::int32_t type, std::int32_t status, double value) {
  const std::map<std::int32_t, std::int32_t> sizes = {{VL_DT_SingleMeasResult, 156},
                                                      {VL_DT_SingleMeasResult2, 204},
                                                      {VL_DT_StationaryProbeMeasResult, 376},
                                                      {VL_DT_TiltraResult, 40}};
  Bytes bytes = packet(sizes.at(type), type);
  put_i32(bytes, 8, status);
  put_f64(bytes, 20, value);
  return bytes;
}

Bytes request(std::int32_t command, const Bytes& parameters) {
  Bytes header = packet(12, VL_DT_Command);
  put_i32(header, 0, static_cast<std::int32_t>(12 + parameters.size()));
  put_i32(header, 8, command);
  return header + parameters;
}

Bytes status_change(std::int32_t change) {
  Bytes bytes = packet(12, VL_DT_SystemStatusChange);
  put_i32(bytes, 8, change);
  return bytes;
}

void put_i32(Bytes& bytes, std::size_t offset, std::int32_t value) {
  wire::store_i32(bytes.data() + offset, value);
}

void put_f64(Bytes& bytes, std::size_t offset, double value) {
  wire::store_f64(bytes.data() + offset, value);
}

std::int32_t get_i32(std::span<const std::uint8_t> bytes, std::size_t offset) {
  return wire::load_i32(bytes.data() + offset);
}

Bytes operator+(Bytes first, const Bytes& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

std::pair<Bytes, Bytes> cut(const Bytes& bytes, std::size_t at) {
  const auto middle = bytes.begin() + static_cast<std::ptrdiff_t>(at);
  return {Bytes(bytes.begin(), middle), Bytes(middle, bytes.end())};
}

std::uint16_t unused_port() {
  std::uint16_t port = 0;
  ::close(bind_port(port));
  return port;
}

ScriptedPeer::ScriptedPeer(std::uint16_t port) : port_(port), listener_(bind_port(port_)) {
  EXPECT_EQ(::listen(listener_, 8), 0) << std::strerror(errno);
}

ScriptedPeer::~ScriptedPeer() {
  end_client(false);
  ::close(listener_);
}

void ScriptedPeer::accept() {
  end_client(false);
  if (!wait_readable(listener_, kPatience)) {
    ADD_FAILURE() << "no client has connected";
    return;
  }
  const int client = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
  const int on = 1;
  ::setsockopt(client, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  // Longer than any test waits: a call that blocks for ever is a fault to be seen, not a hang.
  const timeval patience{20, 0};
  for (const int way : {SO_SNDTIMEO, SO_RCVTIMEO}) ::setsockopt(client, SOL_SOCKET, way, &patience, sizeof patience);
  client_descriptor_ = other_end(client);
  client_ = client;
}

bool ScriptedPeer::wait_readable(int descriptor, std::chrono::milliseconds time) const {
  pollfd look{descriptor, POLLIN, 0};
  return ::poll(&look, 1, static_cast<int>(time.count())) == 1;
}

bool ScriptedPeer::read_exactly(std::uint8_t* into, std::size_t count) {
  return count == 0 || ::recv(client_, into, count, MSG_WAITALL) == static_cast<ssize_t>(count);
}

bool ScriptedPeer::read_request(Bytes& request) {
  request.resize(kRequestHeader);
  if (!read_exactly(request.data(), kRequestHeader)) return false;
  request.resize(std::max(static_cast<std::size_t>(std::max(get_i32(request, 0), 0)), kRequestHeader));
  return read_exactly(request.data() + kRequestHeader, request.size() - kRequestHeader);
}

Bytes ScriptedPeer::receive(std::size_t count) {
  Bytes bytes(count);
  if (!read_exactly(bytes.data(), count)) ADD_FAILURE() << "the client has not sent " << count << " bytes";
  return bytes;
}

Bytes ScriptedPeer::receive_request() {
  Bytes request;
  if (!read_request(request)) ADD_FAILURE() << "the client has not sent a whole request";
  return request;
}

bool ScriptedPeer::client_leaves() {
  std::uint8_t scratch[4096];
  ssize_t got = 1;
  while (got > 0 && wait_readable(client_, kPatience)) got = ::recv(client_, scratch, sizeof scratch, 0);
  return got <= 0;
}

bool ScriptedPeer::client_has_read_all() const {
  int under_way = -1;
  int unread = -1;
  return ::ioctl(client_, SIOCOUTQ, &under_way) == 0 && under_way == 0 &&
         ::ioctl(client_descriptor_, FIONREAD, &unread) == 0 && unread == 0;
}

void ScriptedPeer::send(std::span<const std::uint8_t> bytes) {
  while (!bytes.empty()) {
    const ssize_t sent = ::send(client_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) ADD_FAILURE() << "the client does not read";
    if (sent <= 0) return;
    bytes = bytes.subspan(static_cast<std::size_t>(sent));
  }
}

void ScriptedPeer::run(Script script) {
  finish();
  script_ = std::thread([this, script = std::move(script)] { script(*this); });
}

void ScriptedPeer::serve(Reply reply) {
  run([reply = std::move(reply)](ScriptedPeer& peer) {
    for (Bytes request; peer.read_request(request); peer.send(reply(request))) {
      const std::lock_guard lock(peer.requests_lock_);
      peer.requests_.push_back(request);
    }
  });
}

std::vector<Bytes> ScriptedPeer::requests() const {
  const std::lock_guard lock(requests_lock_);
  return requests_;
}

void ScriptedPeer::half_close() {
  ::shutdown(client_, SHUT_WR);
}

void ScriptedPeer::end_client(bool at_once) {
  if (std::this_thread::get_id() != script_.get_id()) {
    {
      // Wakes a script that waits; for a reset without a word to the client.
      const std::lock_guard lock(client_lock_);
      if (script_.joinable() && client_ >= 0) ::shutdown(client_, at_once ? SHUT_RD : SHUT_RDWR);
    }
    finish();
  }
  const std::lock_guard lock(client_lock_);
  if (client_ < 0) return;
  if (at_once) {
    const linger none{1, 0};
    ::setsockopt(client_, SOL_SOCKET, SO_LINGER, &none, sizeof none);
  } else {
    ::shutdown(client_, SHUT_WR);
    // Unread requests would turn the close into a reset.
    std::uint8_t scratch[4096];
    while (::recv(client_, scratch, sizeof scratch, MSG_DONTWAIT) > 0) {
    }
  }
  ::close(client_);
  client_ = -1;
}

}  // namespace kestrine::test
