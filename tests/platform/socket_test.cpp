#include "platform/socket.h"

#include <fcntl.h>
#include <sys/socket.h>

#include <array>
#include <ctime>
#include <random>

#include "platform/clock.h"
#include "platform/test_clock.h"
#include "support.h"

namespace kestrine::platform {
namespace {

constexpr std::uint32_t kNotice = 2025;
constexpr std::int32_t kBoth = kSocketReadable | kSocketClosed;

int error_of(int result) {
  return result == -1 ? last_socket_error() : 0;
}

class SocketTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(socket_startup(0x0101), 0);
    socket_ = open_socket();
    ASSERT_NE(socket_, kInvalidSocket);
  }
  void TearDown() override {
    close_socket(socket_);
    socket_cleanup();
  }

  void connect() {
    ASSERT_EQ(connect_socket(socket_, kLoopback, peer_.port()), 0);
    peer_.accept();
    ASSERT_EQ(select_notifications(socket_, box_.window, kNotice, kBoth), 0);
  }
  // The events so far: 'r' and 'c' in their order.
  std::string events() const {
    std::string all;
    for (const Message& message : box_.seen) {
      if (message.id == kNotice) all += (message.lparam & 0xFFFF) == kSocketReadable ? 'r' : 'c';
    }
    return all;
  }
  bool wait_for_unread(int bytes) {
    std::string scratch(static_cast<std::size_t>(bytes), '\0');
    const int fd = static_cast<int>(socket_);
    return pump_until([&] { return ::recv(fd, scratch.data(), scratch.size(), MSG_PEEK | MSG_DONTWAIT) == bytes; });
  }
  void expect_events(const std::string& expected) {
    EXPECT_TRUE(pump_until([&] { return events() == expected; })) << events() << " instead of " << expected;
  }
  // The same, and nothing more may come for a while, nor may the wait for it spin.
  void expect_quiet(const std::string& expected) {
    expect_events(expected);
    const std::clock_t before = std::clock();
    EXPECT_TRUE(host::run_for(60ms));
    EXPECT_LT(std::clock() - before, 30 * CLOCKS_PER_SEC / 1000);
    EXPECT_EQ(events(), expected);
  }

  Recorder box_;
  test::ScriptedPeer peer_;
  SocketHandle socket_ = kInvalidSocket;
};

TEST_F(SocketTest, ReadableComesOnceAndIsArmedByReading) {
  connect();
  expect_quiet("");
  send(peer_, "abcd");
  expect_quiet("r");
  EXPECT_EQ(box_.seen[0].wparam, socket_);
  send(peer_, "e");
  expect_quiet("r");

  EXPECT_EQ(receive_text(socket_, 2, true), "ab");
  expect_events("rr");  // a peek arms as well
  EXPECT_EQ(receive_text(socket_, 2), "ab");
  expect_events("rrr");  // bytes are left
  EXPECT_EQ(receive_text(socket_, 9), "cde");
  expect_quiet("rrr");
  EXPECT_EQ(receive(socket_, nullptr, 0), 0);
  char byte;
  EXPECT_EQ(error_of(receive(socket_, &byte, 1)), kErrorWouldBlock);
  send(peer_, "f");
  expect_events("rrrr");

  receive_text(socket_, 9);
  box_.seen.clear();
  box_.handler = [&](const Message&) {
    host::dispatch();
    receive_text(socket_, 2);
  };
  send(peer_, "aabbcc");
  expect_quiet("rrr");  // reading inside the handler while pumping does not double
}

TEST_F(SocketTest, ClosedComesOnceAndAfterTheLastByte) {
  for (const bool reset : {false, true}) {
    SCOPED_TRACE(reset ? "reset" : "end");
    connect();
    send(peer_, "abcd");
    ASSERT_TRUE(wait_for_unread(4));
    reset ? peer_.reset() : peer_.close();
    expect_quiet("r");
    EXPECT_EQ(receive_text(socket_, 3), "abc");
    expect_quiet("rr");
    EXPECT_EQ(receive_text(socket_, 3), "d");
    expect_quiet("rrc");
    receive_text(socket_, 1);
    expect_quiet("rrc");
    TearDown();
    SetUp();
    box_.seen.clear();
  }
  connect();
  ASSERT_EQ(select_notifications(socket_, box_.window, kNotice, kSocketClosed), 0);
  send(peer_, "a");
  peer_.close();
  receive_text(socket_, 1);
  expect_quiet("c");
}

TEST_F(SocketTest, CancellingClosingAndDestroyingRemoveWhatIsQueued) {
  connect();
  send(peer_, "a");
  ASSERT_TRUE(wait_for_unread(1));
  const auto requeue = [&](WindowHandle window) {
    ASSERT_EQ(select_notifications(socket_, window, kNotice, kSocketReadable), 0);
    ASSERT_TRUE(pump_until([] { return peek_message(); }));
  };
  {
    Recorder other;
    requeue(other.window);
  }
  EXPECT_FALSE(peek_message());
  requeue(box_.window);
  box_.seen.clear();
  EXPECT_EQ(select_notifications(socket_, box_.window, 0, 0), 0);
  EXPECT_FALSE(peek_message());
  requeue(box_.window);
  box_.seen.clear();
  EXPECT_EQ(close_socket(socket_), 0);
  expect_quiet("");
}

TEST_F(SocketTest, NotificationsShowAtTheHostsDescriptorAndEndASlice) {
  connect();
  const int fd = host::fd();
  for (const bool prompt : {false, true}) {
    EXPECT_FALSE(is_readable(fd));
    send(peer_, "a");
    EXPECT_TRUE(is_readable(fd, 5000));
    wait_slice(prompt);
    EXPECT_TRUE(is_readable(fd)) << "a slice may have put it into the queue";
    EXPECT_EQ(host::dispatch(), 1);
    EXPECT_FALSE(is_readable(fd)) << "what nobody reads is no longer due";
    receive_text(socket_, 8, true);
    EXPECT_TRUE(is_readable(fd)) << "what has been looked at is";
    EXPECT_EQ(host::dispatch(), 1);
    receive_text(socket_, 1);
    EXPECT_FALSE(is_readable(fd));
  }
  peer_.close();
  EXPECT_TRUE(is_readable(fd, 5000));
  EXPECT_EQ(host::dispatch(), 1);
  EXPECT_FALSE(is_readable(fd));
}

TEST_F(SocketTest, ANotificationCanWaitForSoManyBytesOrTheEnd) {
  connect();
  for (const bool ended : {false, true}) {
    send(peer_, "abc");
    ASSERT_TRUE(pump_until([&] { return !box_.seen.empty(); })) << "every byte counts at first, and again";
    ASSERT_TRUE(wait_for_unread(3));
    EXPECT_FALSE(notify_of_bytes(socket_, 3)) << "they are there";
    EXPECT_TRUE(notify_of_bytes(socket_, 4));
    box_.seen.clear();
    receive_text(socket_, 1, true);
    EXPECT_EQ(host::dispatch(), 0);
    ended ? peer_.close() : send(peer_, "d");
    EXPECT_TRUE(pump_until([&] { return !box_.seen.empty(); }));
    receive_text(socket_, 4);
    box_.seen.clear();
  }
}

TEST_F(SocketTest, HoweverItIsCutWhatIsReadIsWhatWasSentAndANoticeKeepsItsPromise) {
  std::minstd_rand random(1);
  const auto up_to = [&](std::size_t most) { return 1 + random() % (random() % 2 == 0 ? 100 : most); };
  std::string sent(1'000'000, '\0');
  for (char& byte : sent) byte = static_cast<char>(random());
  connect();
  peer_.run([&sent, up_to](test::ScriptedPeer& peer) {
    for (std::string_view rest = sent; !rest.empty();) {
      const std::string_view piece = rest.substr(0, up_to(60'000));
      send(peer, piece);
      rest.remove_prefix(piece.size());
    }
    peer.close();
  });
  std::string seen;
  std::size_t promised = 1;
  box_.handler = [&](const Message& message) {
    if (message.id != kNotice || message.lparam != kSocketReadable) return;
    promised = std::min(promised, sent.size() - seen.size());
    const std::string peeked = receive_text(socket_, 8, true);
    EXPECT_EQ(peeked, sent.substr(seen.size(), peeked.size()));
    const std::string taken = receive_text(socket_, static_cast<int>(promised + up_to(40'000)));
    EXPECT_GE(taken.size(), promised);
    seen += taken;
    const auto wanted = static_cast<int>(up_to(50'000));
    promised = notify_of_bytes(socket_, wanted) ? static_cast<std::size_t>(wanted) : 1;
  };
  EXPECT_TRUE(pump_until([&] { return events().ends_with('c'); }));
  EXPECT_TRUE(seen == sent) << seen.size() << " bytes";
  expect_quiet(events());
}

TEST_F(SocketTest, APostingHandlerDoesNotShutOutTheSocket) {
  connect();
  bool heard = false;
  box_.handler = [&](const Message& message) {
    heard = heard || message.id == kNotice;
    if (!heard) post_message(box_.window, 1, 0, 0);
  };
  post_message(box_.window, 1, 0, 0);
  send(peer_, "a");
  EXPECT_TRUE(pump_until([&] { return heard; }));
}

TEST_F(SocketTest, AReadableNoticeStillInTheQueueIsNotDoubled) {
  connect();
  std::string text;
  int posts = 0;
  box_.handler = [&](const Message& message) {
    if (message.id == kNotice) text += receive_text(socket_, 9);
    if (message.id == 1 && ++posts == 100) {
      EXPECT_EQ(receive_text(socket_, 9), "a");
      send(peer_, "b");
      EXPECT_TRUE(is_readable(static_cast<int>(socket_), 5000));
    }
  };
  send(peer_, "a");
  ASSERT_TRUE(is_readable(static_cast<int>(socket_), 5000));
  for (int i = 0; i < 200; ++i) post_message(box_.window, 1, 0, 0);
  EXPECT_TRUE(pump_until([&] { return box_.seen.size() >= 201; }));
  expect_quiet("r");
  EXPECT_EQ(text, "b");
}

TEST_F(SocketTest, AConnectUnderWayIsNotConnected) {
  std::array<SocketHandle, 12> fillers{};  // more than the system lets wait for the peer
  for (SocketHandle& filler : fillers) {
    filler = open_socket();
    set_non_blocking(filler, true);
    connect_socket(filler, kLoopback, peer_.port());
  }
  ASSERT_EQ(set_non_blocking(socket_, true), 0);
  EXPECT_EQ(error_of(connect_socket(socket_, kLoopback, peer_.port())), kErrorWouldBlock);
  ASSERT_EQ(select_notifications(socket_, box_.window, kNotice, kBoth), 0);
  char byte;
  EXPECT_EQ(error_of(receive(socket_, &byte, 1, true)), kErrorNotConnected);
  EXPECT_EQ(error_of(connect_socket(socket_, kLoopback, peer_.port())), kErrorAlready);
  expect_quiet("");
  for (const SocketHandle filler : fillers) close_socket(filler);
}

TEST_F(SocketTest, ARefusedConnectIsToldAndCanBeTriedAnew) {
  const std::uint16_t port = test::unused_port();
  const auto error_of_connect = [&](std::uint16_t to) { return error_of(connect_socket(socket_, kLoopback, to)); };
  char byte = 0;
  EXPECT_EQ(select_notifications(socket_, box_.window, kNotice, kBoth), 0);
  EXPECT_FALSE(is_readable(host::fd())) << "the kernel would call an unconnected socket hung up";
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(error_of_connect(port), kErrorWouldBlock);
    EXPECT_EQ(error_of(receive(socket_, &byte, 1, true)), kErrorNotConnected) << "must not swallow the outcome";
    expect_quiet("");
    EXPECT_EQ(error_of_connect(port), kErrorConnectionRefused);
  }
  EXPECT_EQ(error_of_connect(peer_.port()), kErrorWouldBlock);
  peer_.accept();
  ASSERT_TRUE(pump_until([&] { return error_of(receive(socket_, &byte, 1, true)) != kErrorNotConnected; }));
  EXPECT_EQ(last_socket_error(), kErrorWouldBlock);
  EXPECT_EQ(error_of_connect(peer_.port()), kErrorAlreadyConnected);
  send(peer_, "a");
  expect_events("r");
  EXPECT_EQ(receive_text(socket_, 9), "a");
}

TEST_F(SocketTest, AGreetingFollowedByAResetIsNotLostToALateLook) {
  ASSERT_EQ(set_non_blocking(socket_, true), 0);
  connect_socket(socket_, kLoopback, peer_.port());
  peer_.accept();
  send(peer_, "hello");
  ASSERT_TRUE(wait_for_unread(5));
  peer_.reset();
  pollfd ended{static_cast<int>(socket_), 0, 0};
  ASSERT_EQ(::poll(&ended, 1, 5000), 1);
  EXPECT_EQ(error_of(connect_socket(socket_, kLoopback, peer_.port())), kErrorAlreadyConnected);
  EXPECT_EQ(receive_text(socket_, 9), "hello");
}

TEST_F(SocketTest, HandlesStayClearOfTheStandardStreams) {
  const int kept = ::dup(0);
  ::close(0);
  const SocketHandle socket = open_socket();
  EXPECT_GT(socket, 2U);
  EXPECT_NE(::fcntl(static_cast<int>(socket), F_GETFD) & FD_CLOEXEC, 0);
  close_socket(socket);
  ::dup2(kept, 0);
  ::close(kept);
}

}  // namespace
}  // namespace kestrine::platform
