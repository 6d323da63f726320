#include "platform/linux/socket_watches.h"

#include <sys/socket.h>

#include <algorithm>
#include <cerrno>

#include "platform/linux/socket_table.h"

namespace kestrine::platform {

SocketWatches::Watch* SocketWatches::find(SocketHandle socket) {
  for (Watch& watch : watches_) {
    if (watch.socket == socket) return &watch;
  }
  return nullptr;
}

bool SocketWatches::add(SocketHandle socket, WindowHandle window, std::uint32_t id, std::int32_t events) {
  drop(socket);
  watches_.push_back({.socket = socket, .window = window, .id = id, .events = events});
  if (resume(watches_.back())) return true;
  watches_.pop_back();
  return false;
}

void SocketWatches::drop(SocketHandle socket) {
  Watch* watch = find(socket);
  if (watch == nullptr) return;
  suspend(*watch);
  watches_.erase(watches_.begin() + (watch - watches_.data()));
  queue_.erase_if(
      [&](const MessageQueue::Entry& entry) { return entry.from_socket && entry.message.wparam == socket; });
}

void SocketWatches::drop_window(WindowHandle window) {
  for (std::size_t i = watches_.size(); i-- > 0;) {
    if (watches_[i].window == window) drop(watches_[i].socket);
  }
}

void SocketWatches::rearm(SocketHandle socket) {
  Watch* watch = find(socket);
  if (watch == nullptr) return;
  watch->armed = true;
  if (!watch->in_set && !watch->close_notified) resume(*watch);
}

void SocketWatches::note_delivery(SocketHandle socket) {
  if (Watch* watch = find(socket)) watch->readable_queued = false;
}

void SocketWatches::on_ready(const epoll_event& event) {
  Watch* watch = find(static_cast<SocketHandle>(event.data.fd));
  // A message about this socket still waits; with it in the queue no wait blocks, so nothing spins, and the socket
  // is polled again once the queue has run dry.
  if (watch == nullptr || watch->readable_queued) return;
  SocketRecord* record = find_socket(watch->socket);
  const SocketPhase phase = record != nullptr ? update_phase(watch->socket, *record) : SocketPhase::kClosed;
  const bool ended = (event.events & (EPOLLRDHUP | EPOLLHUP | EPOLLERR)) != 0;
  // With an end in sight, "readable" may mean the end itself.
  const bool unread = ended ? record != nullptr && (record->ahead->size() > 0 || unread_bytes(event.data.fd) > 0)
                            : (event.events & EPOLLIN) != 0;
  if (phase == SocketPhase::kConnected && unread && may_tell_readable(*watch)) {
    if (ended || come_to_enough(*record, event.data.fd)) notify_readable(*watch);
    return;
  }
  if (phase == SocketPhase::kConnected && ended && !unread && (watch->events & kSocketClosed) != 0) {
    notify(*watch, kSocketClosed);
    watch->close_notified = true;
  }
  suspend(*watch);
}

bool SocketWatches::may_tell_readable(const Watch& watch) {
  return watch.armed && !watch.readable_queued && (watch.events & kSocketReadable) != 0;
}

bool SocketWatches::is_held_readable(const Watch& watch) {
  const SocketRecord* record = may_tell_readable(watch) ? find_socket(watch.socket) : nullptr;
  return record != nullptr && record->has_enough();
}

bool SocketWatches::has_held() const {
  return std::ranges::any_of(watches_, is_held_readable);
}

bool SocketWatches::notify_held() {
  bool any = false;
  for (Watch& watch : watches_) {
    if (!is_held_readable(watch)) continue;
    notify_readable(watch);
    any = true;
  }
  return any;
}

SocketWatches::Read SocketWatches::wait_by_reading() {
  if (watches_.size() != 1) return Read::kNotTold;
  const Watch& watch = watches_.front();
  const SocketRecord* record = watch.in_set && may_tell_readable(watch) ? find_socket(watch.socket) : nullptr;
  if (record == nullptr || !record->reads_wait || record->low_water != 1 || record->ahead->size() > 0) {
    return Read::kNotTold;
  }
  if (record->ahead->wait(descriptor_of(watch.socket)) < 0) {
    if (errno == EAGAIN) return Read::kNothing;
    if (errno == EINTR) return Read::kInterrupted;
  }
  // An end is told by the kernel's own notice.
  return notify_held() ? Read::kCame : Read::kNotTold;
}

// Takes what has come of the bytes that are waited for, so that the kernel's notice of them ends. More of them than can
// be held wait in the kernel, which gave no notice before they were all there.
bool SocketWatches::come_to_enough(SocketRecord& record, int fd) {
  if (record.low_water == 1 || record.kernel_low_water > 1) return true;
  return record.ahead->fill(fd, static_cast<std::size_t>(record.low_water), MSG_DONTWAIT) <= 0 || record.has_enough();
}

void SocketWatches::notify_readable(Watch& watch) {
  notify(watch, kSocketReadable);
  watch.armed = false;
  watch.readable_queued = true;
}

void SocketWatches::notify(const Watch& watch, std::int32_t event) {
  queue_.push({.message = {.window = watch.window, .id = watch.id, .wparam = watch.socket, .lparam = event},
               .from_socket = true});
}

bool SocketWatches::resume(Watch& watch) {
  // The kernel calls a socket that was never connected hung up; there is nothing to wait for on it.
  const SocketRecord* record = find_socket(watch.socket);
  if (record == nullptr || record->phase == SocketPhase::kIdle || record->phase == SocketPhase::kFailed) return true;
  const std::uint32_t readable = (watch.events & kSocketReadable) != 0 ? EPOLLIN : 0U;
  return watch.in_set = poller_.watch(descriptor_of(watch.socket), readable | EPOLLRDHUP);
}

void SocketWatches::suspend(Watch& watch) {
  if (watch.in_set) watch.in_set = !poller_.watch(descriptor_of(watch.socket), 0);
}

}  // namespace kestrine::platform
