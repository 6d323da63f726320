// The socket notifications of one thread: what the kernel reports of a socket becomes queued messages.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/linux/message_queue.h"
#include "platform/linux/poller.h"
#include "platform/linux/socket_table.h"
#include "platform/loop.h"

namespace kestrine::platform {

// The kernel's notices are level-triggered. As long as messages are read as they come, a socket simply stays in the
// epoll set; it is taken out only when the kernel would go on reporting what nobody must get now (bytes that
// nobody reads, a closing that has been reported), and put back by the next receive(), so that no wait spins on it.
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
  // Whether bytes that have been read ahead are due to be told, of which the kernel knows nothing any more.
  bool has_held() const;
  // Tells them. True when that made a message.
  bool notify_held();
  // Where nothing but the bytes of one socket is waited for, to read them is to wait for them, for a slice at most.
  enum class Read { kCame, kNothing, kInterrupted, kNotTold };
  Read wait_by_reading();

 private:
  struct Watch {
    SocketHandle socket = kInvalidSocket;
    WindowHandle window = 0;
    std::uint32_t id = 0;
    std::int32_t events = 0;
    bool armed = true;             // nothing reported since the last receive()
    bool readable_queued = false;  // reported, but not delivered yet
    bool close_notified = false;
    bool in_set = false;
  };

  static bool may_tell_readable(const Watch& watch);
  static bool is_held_readable(const Watch& watch);
  static bool come_to_enough(SocketRecord& record, int fd);
  Watch* find(SocketHandle socket);
  void notify(const Watch& watch, std::int32_t event);
  void notify_readable(Watch& watch);
  bool resume(Watch& watch);
  void suspend(Watch& watch);

  MessageQueue& queue_;
  Poller& poller_;
  std::vector<Watch> watches_;  // one or two
};

}  // namespace kestrine::platform
