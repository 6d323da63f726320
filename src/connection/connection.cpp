#include "connection/connection.h"

#include "connection/settings.h"
#include "kestrine/host.h"
#include "platform/notices.h"

namespace kestrine::connection {

Connection::Connection(ConnectionEvents& events, const Rules& rules)
    : events_(events), rules_(rules), accepts_any_statistic_mode_(settings::suppress_statistic_mode_errors()) {}

void Notification::send_message(const ReceivedPacket& packet, platform::WindowHandle window) const {
  const auto number = static_cast<std::uint32_t>(cookie);
  if (method == KR_NM_WM_CopyData) {
    const COPYDATASTRUCT record{number, static_cast<std::uint32_t>(packet.length), packet.bytes};
    platform::send_to_host(WM_COPYDATA, window, reinterpret_cast<std::intptr_t>(&record));
  } else if (method == KR_NM_WM_Notify) {
    platform::send_to_host(number, number, packet.length);
  }
}

}  // namespace kestrine::connection
