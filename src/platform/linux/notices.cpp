#include "platform/notices.h"

#include <poll.h>
#include <unistd.h>

#include <memory>
#include <mutex>
#include <new>
#include <string>

#include "kestrine/host.h"
#include "kestrine/text.h"

namespace kestrine {
namespace {

// A hook is taken out of its slot before it is called, so that it may replace itself.
template <typename Hook>
class HookSlot {
 public:
  void set(Hook hook) {
    auto held = hook ? std::make_shared<const Hook>(std::move(hook)) : nullptr;
    const std::lock_guard lock(mutex_);
    hook_.swap(held);
  }
  std::shared_ptr<const Hook> get() {
    const std::lock_guard lock(mutex_);
    return hook_;
  }

 private:
  std::mutex mutex_;
  std::shared_ptr<const Hook> hook_;
};

struct Hooks {
  HookSlot<host::MessageBoxHook> message_box;
  HookSlot<host::BeepHook> beep;
  HookSlot<host::LogHook> log;
  HookSlot<host::WindowMessageHook> window_message;
  HookSlot<host::GiveUpHook> give_up;
};

// Never destroyed: the last static object to go may still have something to say.
Hooks& hooks() {
  static Hooks& all = *new Hooks;
  return all;
}

// Notices come from destructors, too, and in the middle of work that must go on: one for which there is no memory is
// dropped.
template <typename Notice>
void give(Notice notice) {
  try {
    notice();
  } catch (const std::bad_alloc&) {
  }
}

void write_to_standard_error(const std::string& line) {
  // A full pipe behind it would block; then nobody is reading anyway.
  pollfd look{STDERR_FILENO, POLLOUT, 0};
  if (::poll(&look, 1, 0) != 1 || (look.revents & POLLOUT) == 0) return;
  [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, line.data(), line.size());
}

}  // namespace

namespace host {

void set_message_box_hook(MessageBoxHook hook) {
  hooks().message_box.set(std::move(hook));
}
void set_beep_hook(BeepHook hook) {
  hooks().beep.set(std::move(hook));
}
void set_log_hook(LogHook hook) {
  hooks().log.set(std::move(hook));
}
void set_window_message_hook(WindowMessageHook hook) {
  hooks().window_message.set(std::move(hook));
}
void set_give_up_hook(GiveUpHook hook) {
  hooks().give_up.set(std::move(hook));
}

}  // namespace host

namespace platform {

void show_message_box(std::u16string_view text, std::u16string_view caption, std::uint32_t style) {
  give([&] {
    if (const auto hook = hooks().message_box.get()) {
      (*hook)(std::u16string(text), std::u16string(caption), style);
    } else {
      write_to_standard_error((caption.empty() ? "" : to_utf8(caption) + ": ") + to_utf8(text) + "\n");
    }
  });
}

void beep(std::uint32_t hertz, std::uint32_t milliseconds) {
  give([&] {
    if (const auto hook = hooks().beep.get()) (*hook)(hertz, milliseconds);
  });
}

void log_line(std::string_view line) {
  give([&] {
    if (const auto hook = hooks().log.get()) (*hook)(std::string(line));
  });
}

void send_to_host(std::uint32_t message, std::uint64_t wparam, std::int64_t lparam) {
  if (const auto hook = hooks().window_message.get()) (*hook)(message, wparam, lparam);
}

bool host_gives_up() {
  const auto hook = hooks().give_up.get();
  return hook != nullptr && (*hook)();
}

}  // namespace platform
}  // namespace kestrine
