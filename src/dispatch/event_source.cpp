#include "dispatch/event_source.h"

#include <algorithm>
#include <array>
#include <new>

#include "component_types/error_info.h"
#include "dispatch/enumerator.h"
#include "dispatch/variant_value.h"
#include "kestrine/pointer.h"
#include "platform/notices.h"

namespace kestrine::dispatch {
namespace {

void set_argument(VARIANT& argument, const EventArgument& given) {
  argument = given.value;
  if (given.value.vt != VT_BSTR) return;
  argument.bstrVal = copy_text(given.text.data(), given.text.size());
  if (argument.bstrVal == nullptr) throw std::bad_alloc();
}

// The arguments of one call; its texts are freed whatever the sink does.
struct ArgumentBlock {
  explicit ArgumentBlock(std::size_t n) : count(n) {
    for (std::size_t i = 0; i < count; ++i) values[i].vt = VT_EMPTY;
  }
  ~ArgumentBlock() {
    for (std::size_t i = 0; i < count; ++i) {
      if (values[i].vt == VT_BSTR) SysFreeString(values[i].bstrVal);
    }
  }
  ArgumentBlock(const ArgumentBlock&) = delete;
  ArgumentBlock& operator=(const ArgumentBlock&) = delete;

  // Arguments travel in reverse order.
  VARIANT& argument(std::size_t index) { return values[count - 1 - index]; }

  std::size_t count;
  std::array<VARIANT, protocol::kMostValues> values;
};

HRESULT call_sink(IDispatch& sink, std::int32_t dispid, ArgumentBlock& block) {
  DISPPARAMS parameters{};
  parameters.rgvarg = block.values.data();
  parameters.cArgs = static_cast<UINT>(block.count);
  try {
    return sink.Invoke(dispid, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &parameters, nullptr, nullptr, nullptr);
  } catch (...) {
    platform::log_line("an event sink threw an exception; it was dropped");
    return E_UNEXPECTED;
  }
}

}  // namespace

EventSource::~EventSource() {
  for (IDispatch* sink : slots_) {
    if (sink != nullptr) sink->Release();
  }
}

template <class FillArguments>
HRESULT EventSource::fire_to_each(std::int32_t dispid, std::size_t count, FillArguments fill) {
  if (advised_ == 0) return S_OK;
  const Pointer<IConnectionPointContainer> owner(&container_);  // a handler may drop the last other reference
  HRESULT result = S_OK;
  const std::size_t slots = slots_.size();  // sinks that join meanwhile wait for the next event
  for (std::size_t i = 0; i < slots; ++i) {
    const Pointer<IDispatch> sink(i < slots_.size() ? slots_[i] : nullptr);
    if (!sink) continue;
    ArgumentBlock block(count);
    for (std::size_t n = 0; n < count; ++n) fill(block.argument(n), n);
    result = call_sink(*sink, dispid, block);
  }
  return result;
}

HRESULT EventSource::fire(const protocol::MemberRow& event, const std::uint8_t* packet) {
  return fire_to_each(event.dispid, event.values.size(), [&](VARIANT& argument, std::size_t n) {
    write_variant(event.values[n], packet + event.values[n].offset, argument);
  });
}

HRESULT EventSource::fire(std::int32_t dispid, std::initializer_list<EventArgument> arguments) {
  return fire_to_each(dispid, arguments.size(),
                      [&](VARIANT& value, std::size_t n) { set_argument(value, arguments.begin()[n]); });
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
  return component_types::guarded([&] {
    auto slot = std::find(slots_.begin(), slots_.end(), nullptr);
    if (slot == slots_.end()) slot = slots_.insert(slots_.end(), nullptr);
    *slot = events.detach();
    ++advised_;
    *cookie = static_cast<ULONG>(slot - slots_.begin()) + 1;
    return S_OK;
  });
}

HRESULT EventSource::Unadvise(ULONG cookie) {
  if (!home_.is_here()) return RPC_E_WRONG_THREAD;
  if (cookie == 0 || cookie > slots_.size() || slots_[cookie - 1] == nullptr) return CONNECT_E_NOCONNECTION;
  // The slot is empty before the release, which may run code that comes back here.
  const auto sink = Pointer<IDispatch>::adopt(slots_[cookie - 1]);
  slots_[cookie - 1] = nullptr;
  --advised_;
  return S_OK;
}

HRESULT EventSource::EnumConnections(IEnumConnections** connections) {
  if (!home_.is_here()) return RPC_E_WRONG_THREAD;
  const auto list = [this] {
    std::vector<CONNECTDATA> sinks;
    for (std::size_t i = 0; i < slots_.size(); ++i) {
      if (slots_[i] != nullptr) sinks.push_back({slots_[i], static_cast<DWORD>(i) + 1});
    }
    return sinks;
  };
  return ConnectionEnumerator::create(*this, list, 0, connections);
}

}  // namespace kestrine::dispatch
