// One whole use of the library, in which each call of the system and each allocation fails in turn: the application is
// told, or need not know, nothing leaks, and the next use works.
#include <netdb.h>
#include <poll.h>

#include <filesystem>
#include <thread>

#include "client_test.h"
#include "failing_calls.h"
#include "kestrine/events.h"
#include "kestrine/host.h"
#include "kestrine/loader.h"
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
    {{"close", "fstat", "fchmod", "fsync", "rename", "unlink", "mkdir"}, {EACCES, EIO, ENOSPC}},
    {{"getaddrinfo"}, {EAI_AGAIN, EAI_FAIL, EAI_MEMORY, EAI_NONAME}},
    {{"pthread_create", "ioctl", kAllocation, kTextCopy, kArrayCreation}, {EAGAIN}},
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

class FailingResources : public testing::Test {
 protected:
  using Run = std::function<std::string(const char* name, std::size_t nth, int error)>;

  // The application is told something when of the calls of `name` the nth fails, or all is well. Where a
  // name has many more cases than `most`, every third or fifth ... is tried.
  void each_fails(std::string_view all_well, const Run& run, std::size_t most = 200) {
    const auto descriptors = [] { return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}); };
    EXPECT_EQ(run("", 0, 0), all_well);
    const auto before = descriptors();
    for (const auto& [names, errors] : kErrors) {
      for (const char* name : names) {
        run("", 0, 0);
        const std::size_t cases = calls_of(name) * errors.size();
        for (std::size_t i = 0; i < cases; i += (cases / most) | 1) {
          SCOPED_TRACE(std::string(name) + " " + std::to_string(i));
          const std::string told = run(name, i / errors.size() + 1, errors[i % errors.size()]);
          EXPECT_TRUE(told == all_well || told.size() != all_well.size()) << "packets are missing, and no sign";
          EXPECT_EQ(told.find("no error information"), told.npos) << told;
          EXPECT_EQ(run("", 0, 0), all_well) << "after " << told;
          EXPECT_EQ(descriptors(), before);
        }
      }
    }
  }
  bool succeeds(const char* step, HRESULT result) {
    pause_watching(true);
    if (FAILED(result)) {
      const Error error = take_error(result);
      note(step, std::to_string(error.number()) + " " + error.what());
    }
    pause_watching(false);
    return SUCCEEDED(result);
  }
  void note(std::string_view step, std::string_view told) { told_.append(step).append(": ").append(told).append("\n"); }

  Environment environment_;
  std::string told_;
};

class FailingConnections : public FailingResources, public testing::WithParamInterface<connection::Rules> {
 protected:
  static constexpr std::string_view kAllWell =
      "second connect: 40009 Object already connected to server\n\npackets: 2\n";

  // On a thread of its own, so that also its loop is made and goes.
  std::string run(const char* name, std::size_t nth, int error) {
    told_.clear();
    objects::Module module(GetParam());
    ScriptedPeer peer;
    const Text host("localhost");
    const auto sink = Pointer<CountingSink>::adopt(new CountingSink);
    const platform::ShortWaits short_waits{std::chrono::milliseconds(1)};
    std::thread([&] {
      watch_calls(name, nth, error);
      use(module, peer, host, *sink);
    }).join();
    environment_.beeps.clear();
    note("packets", std::to_string(sink->packets));
    return told_;
  }

 private:
  void use(objects::Module& module, ScriptedPeer& peer, BSTR host, CountingSink& sink) {
    Pointer<IClassFactory> factory;
    Pointer<ILTConnect2> connection;
    Pointer<IUnknown> object;
    module.get_class_object(CLSID_LTConnect2, IID_IClassFactory, factory.put_void());
    if (!succeeds("create", factory->CreateInstance(nullptr, IID_ILTConnect2, connection.put_void()))) return;
    if (!succeeds("fetch", connection->get_ILTCommandSync(object.put()))) return;
    const auto commands = object.query<ILTCommandSync2>();
    Subscription subscription;
    pollfd look{-1, POLLIN, 0};
    try {
      subscription = Subscription(*commands, DIID__ILTCommandSync2Events, sink);
      look.fd = host::fd();
    } catch (const std::exception&) {
    }
    if (look.fd < 0) return note("subscription or descriptor", "none");
    if (!succeeds("connect", connection->ConnectEmbeddedSystem(host, peer.port()))) return;
    pause_watching(true);
    peer.accept();
    peer.serve(reply);
    pause_watching(false);
    succeeds("second connect", connection->ConnectEmbeddedSystem(host, 1));
    call(*commands);
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(1);
    try {
      while (!std::ranges::count(environment_.beeps, kOutOfStep) && std::chrono::steady_clock::now() < end) {
        if (::poll(&look, 1, 2) == 1) host::dispatch();
      }
    } catch (const std::bad_alloc&) {
      note("loop", "out of memory");
    }
    VARIANT data{};
    succeeds("data", connection->GetData(&data));
    VariantClear(&data);
    succeeds("disconnect", connection->DisconnectEmbeddedSystem());
  }

  void call(ILTCommandSync2& commands) {
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
    constexpr DISPID kSame = 197;
    succeeds("by name", commands.Invoke(kSame, IID_NULL, 0, DISPATCH_METHOD, &given, nullptr, nullptr, nullptr));
    VariantClear(&held);
    succeeds("stream", commands.GetUnitsEx(&units));
  }

  static constexpr Environment::Beep kOutOfStep{250, 10};
};

TEST_P(FailingConnections, AreToldOrGotOverAndTheNextOneWorks) {
  each_fails(kAllWell, [this](auto... failing) { return run(failing...); });
  EXPECT_EQ(run("socket", 1, EMFILE), "connect: 40013 Invalid socket (fatal error) !\npackets: 0\n");
  EXPECT_EQ(run("epoll_ctl", 3, ENOSPC).substr(0, 14), "connect: 40012");
  EXPECT_EQ(run("epoll_ctl", 1, ENOSPC), "subscription or descriptor: none\npackets: 0\n");
}

INSTANTIATE_TEST_SUITE_P(ModernAndClassic, FailingConnections,
                         testing::Values(connection::kModernRules, connection::Rules{.wakes_when_due = true}));

// They are suspicious, which is told by a message box from a destructor.
TEST_F(FailingResources, OfObjectsThatGoAtOnceAreToldOrGotOver) {
  each_fails("", [this](auto... failing) {
    told_.clear();
    objects::Module module(connection::kClassicRules);
    Pointer<IClassFactory> factory;
    Pointer<ILTConnect> connection;
    Pointer<IUnknown> object;
    watch_calls(failing...);
    module.get_class_object(CLSID_LTConnect, IID_IClassFactory, factory.put_void());
    succeeds("create", factory->CreateInstance(nullptr, IID_ILTConnect, connection.put_void()));
    if (connection) succeeds("fetch", connection->get_ILTCommandSync(object.put()));
    object.reset();
    connection.reset();
    pause_watching(true);
    return told_;
  });
  EXPECT_FALSE(environment_.message_boxes.empty());
}

TEST_F(FailingResources, OfTheRegistryAreToldAndTheNextTryWorks) {
  ::setenv("XDG_DATA_HOME", environment_.directory().c_str(), 1);
  const auto run = [this](auto... failing) {
    told_.clear();
    const auto registered = environment_.directory() / "kestrine";
    std::filesystem::remove_all(registered);
    CLSID clsid;
    Pointer<IUnknown> object;
    watch_calls(failing...);
    succeeds("register", host::register_library(""));
    succeeds("find", CLSIDFromProgID(u"Kestrine.LTConnect2", &clsid));
    succeeds("create",
             CoCreateInstance(CLSID_LTConnect2, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown, object.put_void()));
    succeeds("unregister", host::unregister_library(""));
    pause_watching(true);
    return told_;
  };
  each_fails("", run, 60);
}

}  // namespace
}  // namespace kestrine::test
