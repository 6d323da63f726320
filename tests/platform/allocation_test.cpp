// Counts the allocations of the whole process, so it is a program of its own.
#include "allocations.h"
#include "support.h"

namespace kestrine::platform {
namespace {

class Reader final : public WindowProcedure {
 public:
  std::int64_t on_message(const Message& message) override {
    char byte = 0;
    if (message.id == 2025) total += receive(message.wparam, &byte, 1) == 1;
    if (message.id != 2025) ++total;
    return 0;
  }
  int total = 0;
};

TEST(AllocationTest, MessagesTimersAndNotificationsAllocateNothingOnceWarm) {
  ASSERT_EQ(socket_startup(0x0101), 0);
  test::ScriptedPeer peer;
  Reader reader;
  const WindowHandle window = create_window(reader, u"reader");
  const SocketHandle socket = open_socket();
  ASSERT_EQ(connect_socket(socket, kLoopback, peer.port()), 0);
  ASSERT_EQ(select_notifications(socket, window, 2025, kSocketReadable | kSocketClosed), 0);
  peer.accept();
  host::set_early_wake(true);
  const auto round = [&] {
    const int before = reader.total;
    send(peer, "x");
    set_timer(window, 9, 60'000);
    for (int i = 0; i < 5; ++i) post_message(window, 1, 0, 0);
    while (reader.total < before + 6) {
      wait_slice();
      Message message;
      while (peek_message() && get_message(message)) dispatch_message(message);
    }
    kill_timer(window, 9);
  };
  round();
  const std::size_t before = test::allocations();
  for (int i = 0; i < 1000; ++i) round();
  EXPECT_EQ(test::allocations(), before);
  host::set_early_wake(false);
  close_socket(socket);
  destroy_window(window);
  socket_cleanup();
}

}  // namespace
}  // namespace kestrine::platform
