#include "platform/loop.h"

#include "platform/clock.h"
#include "platform/linux/socket_table.h"
#include "platform/linux/thread_loop.h"

namespace kestrine::platform {

WindowHandle create_window(WindowProcedure& procedure, std::u16string_view) {
  ThreadLoop* loop = ThreadLoop::current();
  return loop != nullptr ? loop->create_window(procedure) : 0;
}

bool destroy_window(WindowHandle window) {
  ThreadLoop* loop = ThreadLoop::existing();
  return loop != nullptr && loop->destroy_window(window);
}

bool is_window(WindowHandle window) {
  ThreadLoop* loop = ThreadLoop::existing();
  return loop != nullptr && loop->procedure_of(window) != nullptr;
}

bool post_message(WindowHandle window, std::uint32_t id, std::uint64_t wparam, std::int64_t lparam) {
  ThreadLoop* loop = ThreadLoop::existing();
  return loop != nullptr && loop->post({window, id, wparam, lparam});
}

std::int64_t send_message(WindowHandle window, std::uint32_t id, std::uint64_t wparam, std::int64_t lparam) {
  return dispatch_message({window, id, wparam, lparam});
}

bool set_timer(WindowHandle window, std::uint64_t id, std::uint32_t milliseconds) {
  ThreadLoop* loop = ThreadLoop::existing();
  return loop != nullptr && loop->set_timer(window, id, milliseconds);
}

bool kill_timer(WindowHandle window, std::uint64_t id) {
  ThreadLoop* loop = ThreadLoop::existing();
  return loop != nullptr && loop->kill_timer(window, id);
}

int select_notifications(SocketHandle socket, WindowHandle window, std::uint32_t id, std::int32_t events) {
  if (prepare_for_notifications(socket) != 0) return -1;
  ThreadLoop* loop = ThreadLoop::existing();
  const std::int32_t known = events & (kSocketReadable | kSocketClosed);
  if (known == 0) {
    if (loop != nullptr) loop->drop_socket(socket);
    return 0;
  }
  if (loop == nullptr || loop->procedure_of(window) == nullptr) return fail_with(kErrorInvalidArgument);
  if (loop->watch_socket(socket, window, id, known)) return 0;
  fail_with(kErrorTooManySockets);
  return kErrorTooManySockets;
}

bool peek_message() {
  ThreadLoop* loop = ThreadLoop::current();
  return loop != nullptr && loop->is_due_after_poll();
}

bool is_message_queued() {
  ThreadLoop* loop = ThreadLoop::existing();
  return loop != nullptr && loop->is_due();
}

bool get_message(Message& message) {
  ThreadLoop* loop = ThreadLoop::current();
  if (loop == nullptr) {
    // At the thread's end nothing will ever come; a pump must not be held up.
    message = {.id = kQuitMessage};
    return false;
  }
  for (;;) {
    const ThreadLoop::Next next = loop->next(message, {});
    if (next != ThreadLoop::Next::kInterrupted) return next == ThreadLoop::Next::kMessage;
  }
}

std::int64_t dispatch_message(const Message& message) {
  ThreadLoop* loop = ThreadLoop::existing();
  WindowProcedure* procedure = loop != nullptr ? loop->procedure_of(message.window) : nullptr;
  return procedure != nullptr ? procedure->on_message(message) : 0;
}

void post_quit_message(int exit_code) {
  if (ThreadLoop* loop = ThreadLoop::current()) loop->post_quit(exit_code);
}

void wait_slice(bool prompt) {
  ThreadLoop* loop = prompt ? ThreadLoop::current() : nullptr;
  if (loop == nullptr) return sleep_ms(kSlice.count());
  loop->wait_slice();
}

}  // namespace kestrine::platform
