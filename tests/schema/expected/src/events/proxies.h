// One firing operation for each event, for whoever does not fire it from a packet.
#pragma once

#include <cstdint>

#include "events/event_source.h"
#include "kestrine/enums.h"

namespace kestrine::events {

// The event source of either generation's synchronous command object.
class CProxy_ILTCommandSyncEvents final : public EventSource {
 public:
  using EventSource::EventSource;

  HRESULT Fire_NamesData(const char16_t* name, std::int32_t namesTotal) {
    return fire(1, {name, namesTotal});
  }
};

// The event source of either generation's asynchronous command object.
class CProxy_ILTCommandAsyncEvents final : public EventSource {
 public:
  using EventSource::EventSource;

  HRESULT Fire_Completed(VL_Command command) {
    return fire(1, {command});
  }
  HRESULT Fire_SpeedData(double speed, VARIANT_BOOL fast) {
    return fire(2, {speed, fast});
  }
  HRESULT Fire_NamesData(const char16_t* name, std::int32_t total) {
    return fire(3, {name, total});
  }
  HRESULT Fire_OldNamesData(const char16_t* name, std::int32_t total) {
    return fire(4, {name, total});
  }
  HRESULT Fire_Failure(std::int32_t number) {
    return fire(5, {number});
  }
};

}  // namespace kestrine::events
