// One connection to a server: the link, the packets received through it, and what is remembered of the server.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "connection/link.h"
#include "connection/measurement_state.h"
#include "connection/packet_reader.h"
#include "connection/pending_requests.h"
#include "connection/receive_buffers.h"
#include "connection/rules.h"
#include "kestrine/component.h"
#include "kestrine/enums.h"
#include "platform/loop.h"

namespace kestrine::connection {

class Connection;

// What happens on a connection, for the dispatcher.
class ConnectionEvents {
 public:
  // `window` is the one that the packet was read for.
  virtual void on_packet(Connection& connection, const ReceivedPacket& packet, platform::WindowHandle window) = 0;
  virtual void on_out_of_step() = 0;
  virtual void on_closed(Connection& connection) = 0;
  // The timer of a command that waits for its answer has expired.
  virtual void on_timer(Connection& connection) = 0;
  // Asked for by Channel::request_flush. False when there was nobody to do it.
  virtual bool on_flush() = 0;

 protected:
  ~ConnectionEvents() = default;
};

// How an application is notified of received packets: by events, by window messages, or not at all.
struct Notification {
  KR_NotifyMethod method = KR_NM_Event;  // the unknown ones notify nobody, like KR_NM_None
  std::int32_t cookie = 0;

  bool fires_events() const { return method == KR_NM_Event; }
  // The message of a packet, if that is the method.
  void send_message(const ReceivedPacket& packet, platform::WindowHandle window) const;
};

// The two command sets that an application may use a connection by.
enum class CommandSet : std::uint8_t { kSync, kAsync };

class Connection {
 public:
  Connection(ConnectionEvents& events, const Rules& rules);
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  virtual IUnknown* unknown() = 0;

  ConnectionEvents& events() { return events_; }
  Link& link() { return link_; }
  ReceiveBuffers& buffers() { return buffers_; }
  const Rules& rules() const { return rules_; }
  PendingRequests& requests() { return requests_; }
  MeasurementState& measurement() { return measurement_; }
  const MeasurementState& measurement() const { return measurement_; }

  const Notification& notification() const { return notification_; }
  void set_notification(const Notification& notification) { notification_ = notification; }

  // The status of the packet received last; 36 before the first one.
  std::int32_t last_result_status() const { return last_result_status_; }
  void set_last_result_status(std::int32_t status) { last_result_status_ = status; }

  bool is_used_by(CommandSet set) const { return used_[static_cast<std::size_t>(set)]; }
  void mark_used_by(CommandSet set) { used_[static_cast<std::size_t>(set)] = true; }
  bool fires_events_to(CommandSet set) const { return is_used_by(set) && notification_.fires_events(); }

  // Failures are thrown as well as returned.
  bool throws() const { return throws_; }
  void set_throws(bool on) { throws_ = on; }
  // A point measured in the other statistic mode than asked for is handed out all the same.
  bool accepts_any_statistic_mode() const { return accepts_any_statistic_mode_; }

 protected:
  ~Connection() = default;

 private:
  ConnectionEvents& events_;
  const Rules& rules_;
  Link link_{rules_};
  ReceiveBuffers buffers_;
  PendingRequests requests_;
  MeasurementState measurement_;
  Notification notification_;
  std::int32_t last_result_status_ = VL_RS_Unknown;
  std::array<bool, 2> used_{};
  bool throws_ = false;
  const bool accepts_any_statistic_mode_;
};

}  // namespace kestrine::connection
