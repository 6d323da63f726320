// What the operations of a tracker (kestrine/tracker_calls.h) share: the connection, and what becomes of failures.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <functional>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "kestrine/kestrine.h"
#include "kestrine/tracker_events.h"

namespace kestrine {

template <class Packet>
class Stream;

namespace detail {

inline VARIANT_BOOL flag(bool on) {
  return on ? VARIANT_TRUE : VARIANT_FALSE;
}

// An array of bytes that an operation hands out.
class Bytes {
 public:
  Bytes() = default;
  Bytes(const Bytes&) = delete;
  Bytes& operator=(const Bytes&) = delete;
  ~Bytes() { VariantClear(&data_); }

  VARIANT* put() { return &data_; }
  std::vector<std::uint8_t> copy() const {
    if (data_.vt != (VT_ARRAY | VT_UI1)) return {};
    const auto* first = static_cast<const std::uint8_t*>(data_.parray->pvData);
    return {first, first + data_.parray->rgsabound[0].cElements};
  }

 private:
  VARIANT data_{};
};

// The event that a handler takes.
template <class Handler>
struct HeardBy : HeardBy<decltype(&std::decay_t<Handler>::operator())> {};
template <class Object, class Event>
struct HeardBy<void (Object::*)(Event)> {
  using Type = std::decay_t<Event>;
};
template <class Object, class Event>
struct HeardBy<void (Object::*)(Event) const> : HeardBy<void (Object::*)(Event)> {};

// A series that is refused is told to the asynchronous object of the connection, and to no other.
class RefusalSink final : public AsyncEvents {
 public:
  explicit RefusalSink(std::function<void(VL_Command)> handler) : handler_(std::move(handler)) {}
  void ErrorEvent(VL_Command command, VL_ResultStatus) override { handler_(command); }

 private:
  std::function<void(VL_Command)> handler_;
};

// Of the answer that is being delivered.
inline VL_ResultStatus status_of_answer(ILTConnect& connection) {
  const Packet packet(connection);
  BasicCommandRT answer{};
  std::memcpy(&answer, packet.bytes().data(), std::min(sizeof answer, packet.bytes().size()));
  return answer.status;
}

class TrackerCore {
 public:
  // The warning of the operation called last, if it had one: it was done, and its results are good.
  const std::optional<Error>& last_warning() const { return warning_; }
  // Called with every warning, inside the operation.
  void on_warning(std::function<void(const Error&)> handler) { warned_ = std::move(handler); }

 protected:
  template <class Packet>
  friend class kestrine::Stream;

  TrackerCore(const std::string& host, std::uint16_t port) : host_(host) {
    host::set_behaviour(host::Behaviour::kModern);
    connection_ = create<ILTConnect>(CLSID_LTConnect);
    const HRESULT result = connection_->ConnectEmbeddedSystem(Text(host), port);
    if (FAILED(result)) throw take_error(result).of(VL_C_Unknown, host_);
    commands_ = command_sync(*connection_);
  }
  TrackerCore(TrackerCore&&) noexcept = default;
  TrackerCore& operator=(TrackerCore&&) noexcept = default;
  ~TrackerCore() = default;

  ILTCommandSync& commands() const {
    if (!commands_)
      throw Error(E_FAIL, 0, u"The connection to the tracker has been closed", u"").of(VL_C_Unknown, host_);
    return *commands_;
  }
  void done(VL_Command command, HRESULT result) {
    if (result == S_OK) [[likely]] {
      if (warning_) warning_.reset();
      return;
    }
    fail_or_warn(command, result);
  }

  template <class Handler>
  Subscription subscribe(Handler handler) const {
    using Event = typename HeardBy<Handler>::Type;
    const auto sink = Pointer<EventSink<Event>>::adopt(new EventSink<Event>(std::move(handler)));
    return Subscription(commands(), DIID__ILTCommandSyncEvents, *sink);
  }
  // All items of a series, of which each tells how many there are.
  template <class Item>
  std::vector<Item> list(VL_Command command, std::int32_t Item::*total, HRESULT (ILTCommandSync::*send)()) {
    std::vector<Item> items;
    std::optional<Error> failure;
    bool complete = false;
    commands();
    const Pointer<ILTConnect> connection = connection_;  // a handler may close the tracker
    const Subscription heard = subscribe([&](const Item& item) {
      if (complete || failure) return;
      // The items of some series come as events whatever the status of their answer.
      if (const auto status = status_of_answer(*connection); status != VL_RS_AllOK) {
        failure = Error(E_FAIL, status, u"The tracker has refused it", u"");
        return;
      }
      if (item.*total > 0) items.push_back(item);
      complete = static_cast<std::int64_t>(items.size()) >= item.*total;
    });
    const auto refusals = Pointer<RefusalSink>::adopt(new RefusalSink([&](VL_Command refused) {
      if (refused == command || refused == VL_C_Unknown) failure = take_error(E_FAIL);
    }));
    const auto told_of_refusals = command_async(*connection);
    const Subscription refused(*told_of_refusals, DIID__ILTCommandAsyncEvents, *refusals);
    const Subscription ended = subscribe([&](const StatusChangeEvent& event) {
      if (event.statusChange == VL_SSC_ServerClosing) failure = Error(E_FAIL, 0, u"The server has closed", u"");
    });
    done(command, (commands().*send)());
    const auto end = std::chrono::steady_clock::now() + kTimeOfList;
    while (!complete && !failure) {
      if (std::chrono::steady_clock::now() > end) failure = Error(E_FAIL, 0, u"Not all items came in time", u"");
      if (!host::run_for(std::chrono::milliseconds(1))) failure = Error(E_FAIL, 0, u"Given up", u"");
    }
    if (!complete) throw std::move(*failure).of(command, host_);
    return items;
  }

  std::string host_;
  Pointer<ILTConnect> connection_;
  Pointer<ILTCommandSync> commands_;

 private:
  static constexpr std::chrono::seconds kTimeOfList{10};  // as StandardWaitTime is where nothing else is set

  [[gnu::noinline]] void fail_or_warn(VL_Command command, HRESULT result) {
    Error error = take_error(result).of(command, host_);
    if (FAILED(result)) throw error;
    warning_ = std::move(error);
    if (warned_) warned_(*warning_);
  }

  std::optional<Error> warning_;
  std::function<void(const Error&)> warned_;
};

}  // namespace detail
}  // namespace kestrine
