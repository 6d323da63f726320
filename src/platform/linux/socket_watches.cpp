#include "platform/linux/socket_watches.h"

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
  const bool unread = ended ? unread_bytes(event.data.fd) > 0 : (event.events & EPOLLIN) != 0;
  if (phase == SocketPhase::kConnected && unread && watch->armed && (watch->events & kSocketReadable) != 0) {
    notify_readable(*watch);
    return;
  }
  suspend(*watch);
  if (phase == SocketPhase::kConnected && ended && !unread && (watch->events & kSocketClosed) != 0) {
    watch->close_notified = true;
    notify(*watch, kSocketClosed);
  }
}

bool SocketWatches::poll_last_notified() {
  Watch* watch = find(last_notified_);
  if (watch == nullptr || !watch->in_set || !watch->armed || watch->readable_queued) return false;
  const SocketRecord* record = find_socket(watch->socket);
  if ((watch->events & kSocketReadable) == 0 || record == nullptr) return false;
  if (unread_bytes(descriptor_of(watch->socket)) < record->low_water) return false;
  notify_readable(*watch);
  return true;
}

void SocketWatches::notify_readable(Watch& watch) {
  watch.armed = false;
  watch.readable_queued = true;
  last_notified_ = watch.socket;
  notify(watch, kSocketReadable);
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
