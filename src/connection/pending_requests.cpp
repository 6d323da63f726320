#include "connection/pending_requests.h"

#include <algorithm>
#include <chrono>

namespace kestrine::connection {

PendingRequests::Ticket PendingRequests::add(std::int32_t command, Result result, bool awaited,
                                             std::chrono::milliseconds forget_after) {
  const platform::TimePoint now = platform::now();
  std::erase_if(requests_, [now](const Request& each) { return !each.awaited && each.forgotten_at <= now; });
  if (requests_.empty()) requests_.reserve(kMostRequests);  // so that sending allocates nothing later on
  if (requests_.size() == kMostRequests) requests_.erase(requests_.begin());
  if (++last_ticket_ == 0) ++last_ticket_;
  requests_.push_back({last_ticket_, command, result, false, awaited, now + forget_after});
  return last_ticket_;
}

void PendingRequests::abandon(Ticket ticket) {
  const auto at = std::ranges::find(requests_, ticket, &Request::ticket);
  if (at != requests_.end()) at->awaited = false;
}

PendingRequests::Ticket PendingRequests::take_answer(std::int32_t command, bool good) {
  const auto at = std::ranges::find_if(
      requests_, [=](const Request& each) { return each.command == command && !each.acknowledged; });
  // What was acknowledged can still be refused.
  if (at == requests_.end()) return good ? 0 : take_error(command);
  if (!good || at->result == Result::kNone) return remove(at);
  at->acknowledged = true;
  return at->ticket;
}

PendingRequests::Ticket PendingRequests::take_error(std::int32_t command) {
  return remove(std::ranges::find(requests_, command, &Request::command));
}

PendingRequests::Ticket PendingRequests::take_result(Result result) {
  return remove(std::ranges::find(requests_, result, &Request::result));
}

void PendingRequests::end_measurements() {
  std::erase_if(requests_, [](const Request& each) {
    return each.result == Result::kMeasurement && each.acknowledged && !each.awaited;
  });
}

PendingRequests::Ticket PendingRequests::remove(std::vector<Request>::iterator at) {
  if (at == requests_.end()) return 0;
  const Ticket ticket = at->ticket;
  requests_.erase(at);
  return ticket;
}

}  // namespace kestrine::connection
