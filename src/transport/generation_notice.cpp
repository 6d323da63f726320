#include "transport/generation_notice.h"

#include <algorithm>

#include "platform/clock.h"
#include "platform/notices.h"

namespace kestrine::transport {

void show_mixed_generations() {
  platform::show_message_box(u"Illegal combination of old/legacy and new interfaces", u"Fatal",
                             platform::kIconExclamation);
}

void check_lifetime(const Slots& slots, std::uint32_t creation_tick) {
  if (slots.process.objects_not_yet_fetched) return;
  const std::uint32_t now = platform::tick_count();
  if (std::min(now - creation_tick, creation_tick - now) < 100) show_mixed_generations();
}

}  // namespace kestrine::transport
