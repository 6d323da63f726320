// The requests that the server has not dealt with yet, so that an answer can be given to the one that it belongs to: an
// answer names its command and nothing else, a result not even that. Those for one command come in the order in which
// the requests were sent.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/clock.h"

namespace kestrine::connection {

class PendingRequests {
 public:
  // Numbers a request; 0 is none.
  using Ticket = std::uint32_t;
  // What comes beside the answer.
  enum class Result : std::uint8_t { kNone, kMeasurement, kTiltra };

  // A request has been sent. One that nobody waits for is forgotten after that time: what a server never answers must
  // not take the answers of later requests for ever.
  Ticket add(std::int32_t command, Result result, bool awaited, std::chrono::milliseconds forget_after);
  // Nobody waits for it any more, but what comes of it still belongs to it.
  void abandon(Ticket ticket);

  // Whose it is; 0 when it is nobody's. A request goes when all that it brings has come, or when it is refused.
  Ticket take_answer(std::int32_t command, bool good);
  Ticket take_error(std::int32_t command);
  Ticket take_result(Result result);
  // Nothing comes of it any more.
  void drop(Ticket ticket) {
    std::erase_if(requests_, [=](const Request& each) { return each.ticket == ticket; });
  }
  // Measurements that have been acknowledged bring no result any more.
  void end_measurements();
  void clear() { requests_.clear(); }

 private:
  struct Request {
    Ticket ticket;
    std::int32_t command;
    Result result;
    bool acknowledged;
    bool awaited;
    platform::TimePoint forgotten_at;
  };
  static constexpr std::size_t kMostRequests = 256;

  Ticket remove(std::vector<Request>::iterator at);

  std::vector<Request> requests_;  // the oldest first
  Ticket last_ticket_ = 0;
};

}  // namespace kestrine::connection
