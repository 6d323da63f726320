// One whole use of the library, in which each call of the system and each allocation fails in turn: the application is
// told, or need not know, nothing leaks, and the next use works.
#include <netdb.h>
#include <poll.h>

#include <filesystem>
#include <thread>

#include "allocations.h"
#include "client_test.h"
#include "failing_calls.h"
#include "kestrine/events.h"
#include "kestrine/host.h"
#include "kestrine/subscription.h"
#include "platform/test_clock.h"

namespace kestrine::test {
namespace {

// What calls can fail with while the library does nothing wrong itself.
const struct {
  std::vector<const char*> names;
  std::vector<int> errors;
} kErrors[] = {
    {{"socket", "epoll_create1", "eventfd", "timerfd_create", "fcntl"}, {EMFILE, ENFILE, ENOMEM, EACCES}},
    {{"connect"}, {ECONNREFUSED, ENETUNREACH, EHOSTUNREACH, ETIMEDOUT, EADDRNOTAVAIL, EACCES, EAGAIN}},
    {{"send", "recv", "readv", "recvmsg"}, {ECONNRESET, EPIPE, ETIMEDOUT, EHOSTUNREACH, ENOMEM, EAGAIN, EINTR}},
    {{"getsockopt", "setsockopt", "getpeername", "epoll_ctl", "shutdown"}, {ENOBUFS, ENOMEM, ENOSPC}},
    {{"poll", "epoll_wait", "clock_nanosleep"}, {EINTR}},
    {{"open", "read", "write", "flock"}, {EACCES, EMFILE, ENOMEM, EIO, ENOSPC, EINTR}},
    {{"close", "fstat", "fchmod", "rename", "mkdir"}, {EACCES, EIO, ENOSPC}},
    {{"getaddrinfo"}, {EAI_AGAIN, EAI_FAIL, EAI_MEMORY, EAI_NONAME}},
    {{"pthread_create", "ioctl", kTextCopy, kArrayCreation}, {EAGAIN}},
};

class CountingSink final : public SyncEvents {
 public:
  void ContinuousPointMeasDataReady(std::int32_t, std::int32_t) override { ++packets; }
  int packets = 0;
};

// A point; or an answer, and behind that of one command a stream that breaks.
Bytes reply(const Bytes& request) {
  const std::int32_t command = get_i32(request, 8);
  if (command == VL_C_StartMeasurement) return answer(command, 0) + packet(156, VL_DT_SingleMeasResult);
  if (command != VL_C_GetUnits) return answer(command, 0);
  const Bytes streamed = packet(200, VL_DT_MultiMeasResult);
  return answer(command, 0) + streamed + streamed + packet(4, VL_DT_Command);
}

class FailingResources : public testing::TestWithParam<connection::Rules> {
 protected:
  static constexpr std::string_view kAllWell = "second connect: Object already connected to server\n\npackets: 2\n";

  static void nothing_fails() {
    watch_calls();
    fail_allocation(0);
  }
  // What the application was told. On a thread of its own, so that also its loop is made and goes; `arm` is called
  // there first.
  template <class Arm>
  std::string run(const char* host, Arm arm) {
    told_.clear();
    const std::size_t before = live_allocations();
    {
      objects::Module module(GetParam());
      ScriptedPeer peer;
      const Text name(host);
      const auto sink = Pointer<CountingSink>::adopt(new CountingSink);
      const platform::ShortWaits short_waits{std::chrono::milliseconds(1)};
      std::thread([&] { arm(), use(module, peer, name, *sink); }).join();
      note("packets", std::to_string(sink->packets));
    }
    environment_.beeps = decltype(environment_.beeps)();
    environment_.message_boxes = decltype(environment_.message_boxes)();
    leaked_ = live_allocations() - before;
    return told_;
  }
  template <class Arm>
  void expect_survived(const char* host, Arm arm) {
    const std::string told = run(host, arm);
    const std::size_t leaked = leaked_;
    const std::size_t left = left_to_fail();
    EXPECT_TRUE(told == kAllWell || told.size() != kAllWell.size()) << "packets are missing, and no sign";
    EXPECT_EQ(told.find("no error information"), told.npos) << told;
    EXPECT_EQ(run(host, &nothing_fails), kAllWell) << "after " << told;
    leaked_ = leaked;
    left_ = left;
  }

  Environment environment_;
  std::size_t leaked_ = 0;
  std::size_t left_ = 0;  // allocations before the one that was to fail

 private:
  bool succeeds(const char* step, HRESULT result) {
    pause(true);
    if (FAILED(result)) note(step, take_error(result).what());
    pause(false);
    return SUCCEEDED(result);
  }
  void note(std::string_view step, std::string_view told) { told_.append(step).append(": ").append(told).append("\n"); }
  // While the application does something itself.
  static void pause(bool on) {
    pause_watching(on);
    pause_failing(on);
  }

  void use(objects::Module& module, ScriptedPeer& peer, BSTR host, CountingSink& sink) {
    Pointer<IClassFactory> factory;
    Pointer<ILTConnect2> connection;
    Pointer<IUnknown> object;
    module.get_class_object(CLSID_LTConnect2, IID_IClassFactory, factory.put_void());
    if (!succeeds("create", factory->CreateInstance(nullptr, IID_ILTConnect2, connection.put_void()))) return;
    if (!succeeds("fetch", connection->get_ILTCommandSync(object.put()))) return;
    const auto commands = object.query<ILTCommandSync2>();
    try {
      const Subscription subscription(*commands, DIID__ILTCommandSync2Events, sink);
      pollfd look{host::fd(), POLLIN, 0};
      if (look.fd < 0) return note("loop", "none");
      if (!succeeds("connect", connection->ConnectEmbeddedSystem(host, peer.port()))) return;
      pause(true);
      peer.accept();
      peer.serve(reply);
      pause(false);
      succeeds("second connect", connection->ConnectEmbeddedSystem(host, 1));
      call(*commands);
      const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(1);
      while (!std::ranges::count(environment_.beeps, kOutOfStep) && std::chrono::steady_clock::now() < end) {
        if (::poll(&look, 1, 2) == 1) host::dispatch();
      }
    } catch (const std::exception& failed) {
      note("subscription or loop", failed.what());
    }
    VARIANT data{};
    succeeds("data", connection->GetData(&data));
    VariantClear(&data);
    succeeds("disconnect", connection->DisconnectEmbeddedSystem());
  }

  void call(ILTCommandSync2& commands) {
    constexpr DISPID kGetSystemSoftwareVersion = 197;
    Text version;
    SingleMeasResultT point;
    SystemUnitsDataT units;
    VARIANT held{};
    VARIANT out{};
    out.vt = VT_BYREF | VT_VARIANT;
    out.pvarVal = &held;
    DISPPARAMS given{&out, nullptr, 1, 0};
    succeeds("text", commands.GetSystemSoftwareVersion(version.put()));
    succeeds("measurement", commands.MeasureStationaryPointEx(&point));
    succeeds("by name", commands.Invoke(kGetSystemSoftwareVersion, IID_NULL, 0, DISPATCH_METHOD, &given, nullptr,
                                        nullptr, nullptr));
    VariantClear(&held);
    succeeds("stream", commands.GetUnitsEx(&units));
  }

  static constexpr Environment::Beep kOutOfStep{250, 10};
  std::string told_ = std::string(1000, ' ');  // so that telling allocates nothing
};

TEST_P(FailingResources, EachCallOfTheSystem) {
  const auto descriptors = [] { return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}); };
  const auto before = descriptors();
  for (const auto& [names, errors] : kErrors) {
    for (const char* name : names) {
      EXPECT_EQ(run("localhost", &nothing_fails), kAllWell);
      const std::size_t cases = calls_of(name) * errors.size();
      for (std::size_t i = 0; i < cases; ++i) {
        SCOPED_TRACE(std::string(name) + " " + std::to_string(i));
        expect_survived("localhost", [&] { watch_calls(name, i / errors.size() + 1, errors[i % errors.size()]); });
        EXPECT_EQ(descriptors(), before);
      }
    }
  }
}

TEST_P(FailingResources, EachAllocation) {
  run("127.0.0.1", &nothing_fails);  // makes what is kept for the life of the process
  for (std::size_t nth = 1; left_ == 0; ++nth) {
    SCOPED_TRACE("allocation " + std::to_string(nth));
    expect_survived("127.0.0.1", [&] { fail_allocation(nth); });
    EXPECT_EQ(leaked_, 0u);
  }
}

INSTANTIATE_TEST_SUITE_P(ModernAndClassic, FailingResources,
                         testing::Values(connection::kModernRules, connection::Rules{.wakes_when_due = true}));

}  // namespace
}  // namespace kestrine::test
