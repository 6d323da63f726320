// A sink's connection to the events of a command object, for as long as the handle lives.
#pragma once

#include <utility>

#include "kestrine/component.h"
#include "kestrine/error.h"
#include "kestrine/pointer.h"

namespace kestrine {

class Subscription {
 public:
  Subscription() = default;
  // `source` is a command object, `events` the identifier of its event interface. Throws Error on refusal.
  Subscription(IUnknown& source, const IID& events, IUnknown& sink) {
    const auto container = Pointer<IUnknown>(&source).query<IConnectionPointContainer>();
    if (!container) throw Error(E_NOINTERFACE, 0, u"the object has no events", u"");
    Pointer<IConnectionPoint> point;
    HRESULT code = container->FindConnectionPoint(events, point.put());
    if (SUCCEEDED(code)) code = point->Advise(&sink, &cookie_);
    if (FAILED(code)) throw Error(code, 0, u"the object does not take this sink", u"");
    point_ = std::move(point);
  }
  Subscription(Subscription&& other) noexcept : point_(std::move(other.point_)), cookie_(other.cookie_) {}
  Subscription& operator=(Subscription other) noexcept {
    std::swap(point_, other.point_);
    std::swap(cookie_, other.cookie_);
    return *this;
  }
  ~Subscription() { end(); }

  // May be called from inside a handler of the sink.
  void end() {
    if (const auto point = std::exchange(point_, {})) point->Unadvise(cookie_);
  }

 private:
  Pointer<IConnectionPoint> point_;
  ULONG cookie_ = 0;
};

}  // namespace kestrine
