// The socket notifications of one thread: turns what the kernel says of a socket into queued messages.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/linux/message_queue.h"
#include "platform/linux/poller.h"
#include "platform/loop.h"

namespace kestrine::platform {

// The kernel's notices are level-triggered. As long as messages are read as they come, a socket simply stays in the
// epoll set; it is taken out only when the kernel has something to say that must not be told now (bytes that nobody
// reads, a closing that has been told), and put back by the next receive(), so that no wait spins on it.
class SocketWatches {
 public:
  SocketWatches(MessageQueue& queue, Poller& poller) : queue_(queue), poller_(poller) {}

  // False when the kernel cannot watch one more.
  bool add(SocketHandle socket, WindowHandle window, std::uint32_t id, std::int32_t events);
  void drop(SocketHandle socket);
  void drop_window(WindowHandle window);

  // The next readable notification may come: somebody has read, or a connect has begun.
  void rearm(SocketHandle socket);
  // A readable notification has been taken out of the queue.
  void note_delivery(SocketHandle socket);
  void on_ready(const epoll_event& event);
  // Asks only the socket that was told of last whether it has more, which costs less than a look at all of them.
  // True when that made a message.
  bool look_again();

 private:
  struct Watch {
    SocketHandle socket = kInvalidSocket;
    WindowHandle window = 0;
    std::uint32_t id = 0;
    std::int32_t events = 0;
    bool armed = true;             // nothing told since the last receive()
    bool readable_queued = false;  // told, but not delivered yet
    bool close_told = false;
    bool in_set = false;
  };

  Watch* find(SocketHandle socket);
  void tell(const Watch& watch, std::int32_t event);
  void tell_readable(Watch& watch);
  bool resume(Watch& watch);
  void suspend(Watch& watch);

  MessageQueue& queue_;
  Poller& poller_;
  std::vector<Watch> watches_;  // one or two
  SocketHandle told_last_ = kInvalidSocket;
};

}  // namespace kestrine::platform
