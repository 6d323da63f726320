// One whole use of the library by an application: a connection is made and connects, calls wait, a point is measured,
// packets stream to a typed sink, the stream breaks, and everything is let go.
#pragma once

#include <poll.h>

#include <algorithm>
#include <functional>
#include <string>
#include <thread>

#include "environment.h"
#include "kestrine/events.h"
#include "kestrine/host.h"
#include "kestrine/subscription.h"
#include "kestrine/type_info.h"
#include "objects/module.h"
#include "platform/test_clock.h"
#include "scripted_peer.h"

namespace kestrine::test {

class CountingSink final : public SyncEvents {
 public:
  void ContinuousPointMeasDataReady(std::int32_t, std::int32_t) override { ++packets; }
  void StatusChangeEvent(VL_SystemStatusChange change) override { ended = ended || change == VL_SSC_ServerClosing; }

  int packets = 0;
  bool ended = false;
};

class WholeRun {
 public:
  static constexpr int kPackets = 3;

  WholeRun(Environment& environment, const connection::Rules& rules, const char* host)
      : environment_(environment), module_(rules), host_(host) {}

  // On a thread of its own, so that also its loop is made and goes. `guarded` calls what it is given, once things may
  // fail; `pause` tells when they must not.
  void on_thread(const std::function<void(const std::function<void()>&)>& guarded, void (*pause)(bool)) {
    pause_ = pause;
    const platform::ShortWaits short_waits{std::chrono::milliseconds(1)};
    std::thread([&] { guarded([this] { use(); }); }).join();
    if (failures.empty() && sink_->packets != kPackets && !sink_->ended) failures = "packets are missing, and no sign";
  }

  static constexpr std::u16string_view kUnexplained = u"no error information";
  std::string failures;  // what the application was told of, and what it should have been told of

 private:
  bool succeeds(const char* step, HRESULT result) {
    if (SUCCEEDED(result)) return true;
    note(step, take_error(result).what());
    return false;
  }
  void note(std::string_view step, std::string_view told) {
    failures.append(step).append(": ").append(told).append("\n");
  }

  void use() {
    Pointer<IClassFactory> factory;
    Pointer<ILTConnect2> connection;
    Pointer<IUnknown> object;
    if (!succeeds("class", module_.get_class_object(CLSID_LTConnect2, IID_IClassFactory, factory.put_void()))) return;
    if (!succeeds("create", factory->CreateInstance(nullptr, IID_ILTConnect2, connection.put_void()))) return;
    if (!succeeds("fetch", connection->get_ILTCommandSync(object.put()))) return;
    const auto commands = object.query<ILTCommandSync2>();
    Subscription subscription;
    try {
      subscription = Subscription(*commands, DIID__ILTCommandSync2Events, *sink_);
      if (host::fd() < 0) note("fd", "none");
    } catch (const std::exception& failed) {
      note("subscribe", failed.what());
    }
    if (!succeeds("connect", connection->ConnectEmbeddedSystem(host_, peer_.port()))) return;
    pause_(true);
    peer_.accept();
    peer_.serve(reply);
    pause_(false);
    call(*connection, *commands);
    stream(*commands);
    VARIANT data{};
    succeeds("data", connection->GetData(&data));
    VariantClear(&data);
    succeeds("disconnect", connection->DisconnectEmbeddedSystem());
  }

  void call(ILTConnect2& connection, ILTCommandSync2& commands) {
    Text version;
    SingleMeasResultT point;
    succeeds("version", commands.GetSystemSoftwareVersion(version.put()));
    succeeds("measure", commands.MeasureStationaryPointEx(&point));
    const HRESULT refused = connection.ConnectEmbeddedSystem(host_, peer_.port());
    pause_(true);
    const Error told = take_error(refused);
    if (SUCCEEDED(refused) || told.text() == kUnexplained) note("second connect", told.what());
    pause_(false);
    char16_t name[] = u"GetSystemSoftwareVersion";
    LPOLESTR names = name;
    DISPID id = 0;
    VARIANT held{};
    VARIANT out{};
    out.vt = VT_BYREF | VT_VARIANT;
    out.pvarVal = &held;
    DISPPARAMS given{&out, nullptr, 1, 0};
    Pointer<ITypeInfo> type;
    FUNCDESC* function = nullptr;
    succeeds("name", commands.GetIDsOfNames(IID_NULL, &names, 1, 0, &id));
    succeeds("by name", commands.Invoke(id, IID_NULL, 0, DISPATCH_METHOD, &given, nullptr, nullptr, nullptr));
    if (succeeds("type", commands.GetTypeInfo(0, 0, type.put())) &&
        succeeds("member", type->GetFuncDesc(0, &function))) {
      type->ReleaseFuncDesc(function);
    }
    VariantClear(&held);
  }

  void stream(ILTCommandSync2& commands) {
    SystemUnitsDataT units;
    const int fd = host::fd();
    if (!succeeds("stream", commands.GetUnitsEx(&units)) || fd < 0) return;
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(1);
    try {
      while (!is_out_of_step() && !sink_->ended && std::chrono::steady_clock::now() < end) {
        pollfd look{fd, POLLIN, 0};
        if (::poll(&look, 1, 2) == 1) host::dispatch();
      }
    } catch (const std::bad_alloc&) {
      note("loop", "out of memory");
    }
  }

  bool is_out_of_step() const {
    return std::ranges::find(environment_.beeps, Environment::Beep{250, 10}) != environment_.beeps.end();
  }

  static Bytes reply(const Bytes& request) {
    const std::int32_t command = get_i32(request, 8);
    Bytes bytes = answer(command, 0);
    if (command == VL_C_StartMeasurement) return bytes + packet(156, VL_DT_SingleMeasResult);
    if (command != VL_C_GetUnits) return bytes;
    for (int i = 0; i < kPackets; ++i) bytes = bytes + packet(200, VL_DT_MultiMeasResult);
    Bytes broken = packet(8, VL_DT_Command);
    put_i32(broken, 0, 4);
    return bytes + broken;
  }

  Environment& environment_;
  objects::Module module_;
  const Text host_;
  ScriptedPeer peer_;
  const Pointer<CountingSink> sink_ = Pointer<CountingSink>::adopt(new CountingSink);
  void (*pause_)(bool) = nullptr;
};

}  // namespace kestrine::test
