// What the sinks of single events share (kestrine/tracker_events.h).
#pragma once

#include <functional>
#include <string>
#include <utility>

#include "kestrine/events.h"
#include "kestrine/text.h"

namespace kestrine::detail {

inline std::string text_of(BSTR text) {
  return to_utf8({text, SysStringLen(text)});
}

template <class Event>
class HandlerSink : public SyncEvents {
 public:
  explicit HandlerSink(std::function<void(const Event&)> handler) : handler_(std::move(handler)) {}

 protected:
  std::function<void(const Event&)> handler_;
};

template <class Event>
class EventSink;

}  // namespace kestrine::detail
