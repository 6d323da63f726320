// How an application is notified of received packets: by events, by window messages, or not at all.
#pragma once

#include <cstdint>

#include "connection/packet_reader.h"
#include "kestrine/enums.h"
#include "platform/loop.h"

namespace kestrine::connection {

struct Notification {
  KR_NotifyMethod method = KR_NM_Event;  // the unknown ones notify nobody, like KR_NM_None
  std::int32_t cookie = 0;

  bool fires_events() const { return method == KR_NM_Event; }
  // The message of a packet, if that is the method; `window` is the one that the packet was read for.
  void send_message(const ReceivedPacket& packet, platform::WindowHandle window) const;
};

}  // namespace kestrine::connection
