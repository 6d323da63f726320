#include "dispatch/event_source.h"

#include <algorithm>
#include <array>
#include <new>

#include "component_types/error_info.h"
#include "component_types/text.h"
#include "dispatch/enumerator.h"
#include "dispatch/variant_value.h"
#include "kestrine/pointer.h"
#include "kestrine/sink.h"
#include "platform/notices.h"

namespace kestrine::dispatch {
namespace {

constexpr std::size_t kLentTexts = 4;  // the most that an event has

// The arguments of one call; its texts are freed whatever the sink does.
class ArgumentBlock {
 public:
  ArgumentBlock(std::size_t count, bool lends) : count_(count), lends_(lends) {
    for (std::size_t i = 0; i < count_; ++i) values_[i].vt = VT_EMPTY;
  }
  ~ArgumentBlock() {
    for (std::size_t i = 0; i < count_; ++i) {
      if (values_[i].vt == VT_BSTR && !is_lent(values_[i].bstrVal)) SysFreeString(values_[i].bstrVal);
    }
  }
  ArgumentBlock(const ArgumentBlock&) = delete;
  ArgumentBlock& operator=(const ArgumentBlock&) = delete;

  // From a field of a packet.
  void set(std::size_t index, const protocol::Value& value, const std::uint8_t* wire) {
    if (value.type != protocol::ValueType::kText || !lends_ || lent_ == kLentTexts) {
      return write_variant(value, wire, argument(index));
    }
    auto& text = texts_[lent_++];
    wire::load_text(wire, text.units, value.count);
    argument(index).bstrVal = text.finish(value.count);
    argument(index).vt = VT_BSTR;
  }
  void set(std::size_t index, const EventArgument& given) {
    VARIANT& variant = argument(index);
    variant = given.value;
    if (given.value.vt != VT_BSTR) return;
    variant.bstrVal = copy_text(given.text.data(), given.text.size());
    if (variant.bstrVal == nullptr) throw std::bad_alloc();
  }
  DISPPARAMS parameters() { return {values_.data(), nullptr, static_cast<UINT>(count_), 0}; }

 private:
  using Text = component_types::LentText<kMostUnits>;

  // Arguments travel in reverse order.
  VARIANT& argument(std::size_t index) { return values_[count_ - 1 - index]; }
  bool is_lent(BSTR text) const {
    const auto is_of = [text](const Text& lent) { return lent.units == text; };
    return std::any_of(texts_.data(), texts_.data() + lent_, is_of);
  }

  std::size_t count_;
  bool lends_;  // the texts of packets
  std::size_t lent_ = 0;
  std::array<VARIANT, protocol::kMostValues> values_;  // these two are written as far as they are used
  std::array<Text, kLentTexts> texts_;
};

HRESULT call_sink(IDispatch& sink, std::int32_t dispid, ArgumentBlock& block) {
  DISPPARAMS parameters = block.parameters();
  try {
    return sink.Invoke(dispid, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &parameters, nullptr, nullptr, nullptr);
  } catch (...) {
    platform::log_line("an event sink threw an exception; it was dropped");
    return E_UNEXPECTED;
  }
}

}  // namespace

EventSource::~EventSource() {
  for (const Slot& slot : slots_) {
    if (slot.sink != nullptr) slot.sink->Release();
  }
}

template <class FillArguments>
HRESULT EventSource::fire_to_each(std::int32_t dispid, std::size_t count, FillArguments fill) {
  if (advised_ == 0) return S_OK;
  const Pointer<IConnectionPointContainer> owner(&container_);  // a handler may drop the last other reference
  HRESULT result = S_OK;
  const std::size_t slots = slots_.size();  // sinks that join meanwhile wait for the next event
  for (std::size_t i = 0; i < slots; ++i) {
    const Slot slot = i < slots_.size() ? slots_[i] : Slot();
    const Pointer<IDispatch> sink(slot.sink);
    if (!sink) continue;
    ArgumentBlock block(count, slot.borrows);
    for (std::size_t n = 0; n < count; ++n) fill(block, n);
    result = call_sink(*sink, dispid, block);
  }
  return result;
}

HRESULT EventSource::fire(const protocol::MemberRow& event, const std::uint8_t* packet) {
  return fire_to_each(event.dispid, event.values.size(), [&](ArgumentBlock& arguments, std::size_t n) {
    arguments.set(n, event.values[n], packet + event.values[n].offset);
  });
}

HRESULT EventSource::fire(std::int32_t dispid, std::initializer_list<EventArgument> given) {
  return fire_to_each(dispid, given.size(),
                      [&](ArgumentBlock& arguments, std::size_t n) { arguments.set(n, given.begin()[n]); });
}

HRESULT EventSource::QueryInterface(const IID& iid, void** object) {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  if (!home_.is_here()) return RPC_E_WRONG_THREAD;
  *object = iid == IID_IUnknown || iid == IID_IConnectionPoint ? static_cast<IConnectionPoint*>(this) : nullptr;
  if (*object == nullptr) return E_NOINTERFACE;
  AddRef();
  return S_OK;
}

HRESULT EventSource::GetConnectionInterface(IID* iid) {
  if (!home_.is_here()) return RPC_E_WRONG_THREAD;
  if (iid == nullptr) return E_POINTER;
  *iid = event_interface_;
  return S_OK;
}

HRESULT EventSource::GetConnectionPointContainer(IConnectionPointContainer** container) {
  if (!home_.is_here()) return RPC_E_WRONG_THREAD;
  if (container == nullptr) return E_POINTER;
  *container = &container_;
  container_.AddRef();
  return S_OK;
}

HRESULT EventSource::Advise(IUnknown* sink, ULONG* cookie) {
  if (!home_.is_here()) return RPC_E_WRONG_THREAD;
  if (sink == nullptr || cookie == nullptr) return E_POINTER;
  *cookie = 0;
  Pointer<IDispatch> events;
  if (FAILED(sink->QueryInterface(event_interface_, events.put_void()))) return CONNECT_E_CANNOTCONNECT;
  Pointer<IUnknown> borrower;
  const bool borrows = SUCCEEDED(events->QueryInterface(IID_ArgumentBorrower, borrower.put_void()));
  return component_types::guarded([&] {
    auto slot = std::ranges::find(slots_, nullptr, &Slot::sink);
    if (slot == slots_.end()) slot = slots_.insert(slots_.end(), Slot());
    *slot = {events.detach(), borrows};
    ++advised_;
    *cookie = static_cast<ULONG>(slot - slots_.begin()) + 1;
    return S_OK;
  });
}

HRESULT EventSource::Unadvise(ULONG cookie) {
  if (!home_.is_here()) return RPC_E_WRONG_THREAD;
  if (cookie == 0 || cookie > slots_.size() || slots_[cookie - 1].sink == nullptr) return CONNECT_E_NOCONNECTION;
  // The slot is empty before the release, which may run code that comes back here.
  const auto sink = Pointer<IDispatch>::adopt(slots_[cookie - 1].sink);
  slots_[cookie - 1] = {};
  --advised_;
  return S_OK;
}

HRESULT EventSource::EnumConnections(IEnumConnections** connections) {
  if (!home_.is_here()) return RPC_E_WRONG_THREAD;
  const auto list = [this] {
    std::vector<CONNECTDATA> sinks;
    for (std::size_t i = 0; i < slots_.size(); ++i) {
      if (slots_[i].sink != nullptr) sinks.push_back({slots_[i].sink, static_cast<DWORD>(i) + 1});
    }
    return sinks;
  };
  return ConnectionEnumerator::create(*this, list, 0, connections);
}

}  // namespace kestrine::dispatch
