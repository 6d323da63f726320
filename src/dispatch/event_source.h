// The one connection point of a command object, and the firing of its events.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string_view>
#include <vector>

#include "kestrine/component.h"
#include "platform/home.h"
#include "protocol/catalogue.h"

namespace kestrine::dispatch {

// One argument on its way to the sinks, each of which gets a text of its own. Enumerations travel as numbers.
struct EventArgument {
  EventArgument(std::int32_t number) { value.vt = VT_I4, value.lVal = number; }
  EventArgument(std::u16string_view units) : text(units) { value.vt = VT_BSTR; }

  VARIANT value{};
  std::u16string_view text;
};

// Lives inside its owner and shares the owner's count. Sinks are called in slot order, on the firing thread;
// they may advise, unadvise, call back into the library or drop the last reference from inside a handler, and a
// sink that fails or throws does not keep an event from the others.
class EventSource final : public IConnectionPoint {
 public:
  // `container` is the owner's IConnectionPointContainer; `event_interface` what a sink must answer to.
  EventSource(IConnectionPointContainer& container, const IID& event_interface)
      : container_(container), event_interface_(event_interface) {}
  EventSource(const EventSource&) = delete;
  EventSource& operator=(const EventSource&) = delete;
  ~EventSource();

  std::size_t sink_count() const { return advised_; }

  // The result of the last sink called, S_OK without one. Throws std::bad_alloc when a text cannot be copied; the
  // texts of packets are lent to sinks of the type IID_ArgumentBorrower, without a copy of their own.
  HRESULT fire(const protocol::MemberRow& event, const std::uint8_t* packet);  // arguments from the packet's fields
  HRESULT fire(std::int32_t dispid, std::initializer_list<EventArgument> arguments);

  HRESULT QueryInterface(const IID& iid, void** object) override;
  ULONG AddRef() override { return container_.AddRef(); }
  ULONG Release() override { return container_.Release(); }
  HRESULT GetConnectionInterface(IID* iid) override;
  HRESULT GetConnectionPointContainer(IConnectionPointContainer** container) override;
  HRESULT Advise(IUnknown* sink, ULONG* cookie) override;
  HRESULT Unadvise(ULONG cookie) override;
  HRESULT EnumConnections(IEnumConnections** connections) override;

 private:
  struct Slot {
    IDispatch* sink = nullptr;  // null in an empty slot
    bool borrows = false;       // leaves its arguments as they are
  };

  template <class FillArguments>
  HRESULT fire_to_each(std::int32_t dispid, std::size_t count, FillArguments fill);

  IConnectionPointContainer& container_;
  const IID& event_interface_;
  const platform::Home home_;
  std::vector<Slot> slots_;  // a cookie is a slot's index plus one
  std::size_t advised_ = 0;
};

}  // namespace kestrine::dispatch
