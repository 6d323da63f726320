// Connecting and disconnecting, and how their failures reach the caller.
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <memory>
#include <thread>

#include "client_test.h"
#include "kestrine/com_error.h"
#include "kestrine/text.h"
#include "platform/socket.h"
#include "transport/message_sink.h"

namespace kestrine::test {
namespace {

using namespace std::chrono_literals;

const std::string kAlreadyConnected = "Object already connected to server\n";
const std::string kNoSink = "Creation of LTConnect object failed (fatal error) !";
const std::string kInvalidSocket = "Invalid socket (fatal error) !";
const std::string kHostNotFound = "gethostbyname() failed.\nCheck DNS / hostname !";
const std::string kNotReached = "Connection to Vorelan server failed.\nCheck host-id, port# and server availability!";
const std::string kCloseFailed = "closesocket() failed !";

class ConnectionTest : public ClientTest {
 protected:
  HRESULT connect_to(std::u16string_view address, std::int32_t port) {
    return connection->ConnectEmbeddedSystem(Text(address), port);
  }
  std::string try_connect(std::u16string_view address, std::int32_t port) { return told(connect_to(address, port)); }
  std::string disconnect() { return told(connection->DisconnectEmbeddedSystem()); }
  int is_connected() {
    VARIANT_BOOL value = 77;
    EXPECT_EQ(connection->get_IsConnected(&value), S_OK);
    return value;
  }
  // One status change that gets through shows that the connection works.
  void expect_that_packets_arrive() {
    peer.send(status_change(26));
    EXPECT_TRUE(pump_until([&] { return connection->received_length == 12; }));
    connection->received_length = 0;
  }
  // As the text of a failure, and as both objects' events.
  void expect_failure(const std::string& outcome, int number, const std::string& text) {
    const std::string event = " ExceptionEvent " + std::to_string(number) + " '" + text + "'";
    EXPECT_EQ(outcome, "80004005 " + std::to_string(number) + " Kestrine.LTConnect.1: " + text);
    EXPECT_EQ(heard(), Lines({"sync" + event, "async" + event}));
  }

  std::chrono::milliseconds time_of(const std::function<void()>& task) {
    const auto start = std::chrono::steady_clock::now();
    task();
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start);
  }
};

TEST_F(ConnectionTest, ConnectsByDottedAddressAndByBareName) {
  make();
  for (const int nonblocking : {0, 1}) {
    environment.set(u"NonblockingConnect", nonblocking);
    for (const auto address : {u"127.0.0.1", u"localhost"}) {
      EXPECT_EQ(is_connected(), 0);
      EXPECT_EQ(try_connect(address, peer.port()), "ok");
      peer.accept();
      EXPECT_EQ(is_connected(), 1) << "1, not -1";
      expect_that_packets_arrive();
      EXPECT_EQ(disconnect(), "ok");
      EXPECT_EQ(is_connected(), 0);
      EXPECT_EQ(connection->socket, 0u);
      EXPECT_TRUE(peer.client_leaves());
    }
  }
}

TEST_F(ConnectionTest, APortCountsByItsLowSixteenBits) {
  make();
  EXPECT_EQ(try_connect(u"127.0.0.1", peer.port() + 65'536), "ok");
  peer.accept();
  expect_that_packets_arrive();
}

TEST_F(ConnectionTest, TheReceiveBufferHoldsAQuarterOfAMegabyte) {
  start();
  const auto size_of = [](int descriptor) {
    int size = 0;
    socklen_t length = sizeof size;
    EXPECT_EQ(::getsockopt(descriptor, SOL_SOCKET, SO_RCVBUF, &size, &length), 0);
    return size;
  };
  // What the system makes of the same wish.
  const int model = ::socket(AF_INET, SOCK_STREAM, 0);
  const int wish = 262'144;
  ::setsockopt(model, SOL_SOCKET, SO_RCVBUF, &wish, sizeof wish);
  EXPECT_EQ(size_of(static_cast<int>(connection->socket)), size_of(model));
  ::close(model);
}

TEST_F(ConnectionTest, ASecondConnectIsRefusedAndLeavesTheFirstWorking) {
  start(kBoth);
  expect_failure(try_connect(u"127.0.0.1", peer.port()), 40009, kAlreadyConnected);
  EXPECT_EQ(is_connected(), 1);
  expect_that_packets_arrive();
}

TEST_F(ConnectionTest, ANameThatIsNotFoundFails) {
  make(kBoth);
  for (const auto& name : {std::u16string(), std::u16string(100, u'x'), std::u16string(u"no such host")}) {
    expect_failure(try_connect(name, peer.port()), 40010, kHostNotFound);
    EXPECT_EQ(is_connected(), 0);
  }
  EXPECT_EQ(told(connection->ConnectEmbeddedSystem(nullptr, 1)).substr(0, 14), "80004005 40010") << "no address at all";
}

TEST_F(ConnectionTest, ANameWithADotIsNeverLookedUp) {
  make(kBoth);
  for (const auto name : {u"localhost.", u"localhost.localdomain", u".", u"1.2.3.4.5"}) {
    expect_failure(try_connect(name, peer.port()), 40011, kNotReached);
  }
}

TEST_F(ConnectionTest, AServerThatDoesNotListenIsAFailureAfterTheTimeout) {
  make(kBoth);
  const std::uint16_t nobody = unused_port();
  expect_failure(try_connect(u"127.0.0.1", nobody), 40011, kNotReached);

  environment.set(u"NonblockingConnect", 1);
  environment.set(u"ConnectionTimeout", 250);
  const auto time = time_of([&] { expect_failure(try_connect(u"127.0.0.1", nobody), 40011, kNotReached); });
  EXPECT_GE(time, 300ms) << "steps of 100 ms until the timeout is reached";
  EXPECT_LT(time, 1500ms);
  EXPECT_EQ(is_connected(), 0);
  EXPECT_NE(connection->socket, 0u) << "the closed handle stays until the next attempt";
  EXPECT_EQ(disconnect(), "ok");
}

TEST_F(ConnectionTest, AServerThatBeginsToListenBeforeTheTimeoutIsReached) {
  make();
  environment.set(u"NonblockingConnect", 1);
  environment.set(u"ConnectionTimeout", 5'000);
  const std::uint16_t port = unused_port();
  std::unique_ptr<ScriptedPeer> late;
  std::thread opener([&] {
    std::this_thread::sleep_for(150ms);  // after the first attempt, before the timeout
    late = std::make_unique<ScriptedPeer>(port);
  });
  const auto time = time_of([&] { EXPECT_EQ(try_connect(u"127.0.0.1", port), "ok"); });
  opener.join();
  EXPECT_LT(time, 2s) << "the rest of the timeout is not waited for";
  late->accept();
  EXPECT_EQ(disconnect(), "ok");
}

TEST_F(ConnectionTest, WithoutATimeoutNothingIsAttemptedAndTheConnectionCountsAsMade) {
  make();
  environment.set(u"NonblockingConnect", 1);
  for (const int timeout : {0, -5}) {
    environment.set(u"ConnectionTimeout", timeout);
    EXPECT_EQ(try_connect(u"127.0.0.1", unused_port()), "ok");
    EXPECT_EQ(is_connected(), 1);
    EXPECT_EQ(told(commands->GoBirdBath()),
              "80004005 40002 Kestrine.LTConnect.1: "
              "Invoking command \"Go Bird Bath\" [54] failed!");
    EXPECT_EQ(disconnect(), "ok");
  }
}

TEST_F(ConnectionTest, WithoutASinkOrASenderThereIsNoConnecting) {
  make(kBoth);
  auto* const sender = std::exchange(generation.slots.transport, nullptr);
  expect_failure(try_connect(u"127.0.0.1", peer.port()), 40015, kNoSink);
  generation.slots.transport = sender;
  auto* const sink = std::exchange(generation.slots.message_sink, nullptr);
  expect_failure(try_connect(u"127.0.0.1", peer.port()), 40015, kNoSink);
  generation.slots.message_sink = sink;
  platform::destroy_window(sink->window());
  expect_failure(try_connect(u"127.0.0.1", peer.port()), 40015, kNoSink);
}

TEST_F(ConnectionTest, AProcessWithoutDescriptorsLeftGetsNoSocket) {
  make(kBoth);
  try_connect(u"", peer.port());  // a sanitizer needs descriptors of its own on the way to a first failure
  heard();
  rlimit limit{};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &limit), 0);
  const rlimit none{0, limit.rlim_max};
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
  const std::string outcome = try_connect(u"127.0.0.1", peer.port());
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
  expect_failure(outcome, 40013, kInvalidSocket);
  EXPECT_EQ(connection->socket, platform::kInvalidSocket);
  connect();
  expect_that_packets_arrive();
}

TEST_F(ConnectionTest, DisconnectingWithoutAConnectionIsFine) {
  make();
  EXPECT_EQ(disconnect(), "ok");
  connect();
  EXPECT_EQ(disconnect(), "ok");
  EXPECT_EQ(disconnect(), "ok");
}

TEST_F(ConnectionTest, ASocketThatCannotBeClosedIsToldOnceAndTheObjectConnectsAgain) {
  start(kBoth);
  platform::close_socket(connection->socket);
  expect_failure(disconnect(), 40017, kCloseFailed);
  EXPECT_EQ(is_connected(), 0);
  EXPECT_EQ(disconnect(), "ok");
  connect();
  expect_that_packets_arrive();
}

TEST_F(ConnectionTest, ReconnectingLeavesStatusAndBuffersAsTheyWere) {
  start();
  peer.send(answer(VL_C_GoBirdBath, 17));
  ASSERT_TRUE(pump_until([&] { return connection->received_length == 16; }));
  ASSERT_EQ(disconnect(), "ok");
  connect();
  VL_ResultStatus status{};
  EXPECT_EQ(connection->get_LastResultStatus(&status), S_OK);
  EXPECT_EQ(status, 17);
  EXPECT_EQ(get_i32(connection->last_command_answer, 8), VL_C_GoBirdBath);
}

TEST_F(ConnectionTest, FailuresCarryTheInterfaceTheyBelongTo) {
  start();
  ASSERT_EQ(connect_to(u"127.0.0.1", peer.port()), E_FAIL);
  Pointer<IErrorInfo> info;
  ASSERT_EQ(GetErrorInfo(0, info.put()), S_OK);
  GUID iid{};
  EXPECT_EQ(info->GetGUID(&iid), S_OK);
  EXPECT_TRUE(iid == IID_ILTConnect);
  BSTR file = nullptr;
  DWORD context = 1;
  EXPECT_EQ(info->GetHelpFile(&file), S_OK);
  EXPECT_EQ(info->GetHelpContext(&context), S_OK);
  EXPECT_TRUE(file == nullptr && context == 0);
  EXPECT_EQ(connection->InterfaceSupportsErrorInfo(IID_ILTConnect), S_OK);
  EXPECT_EQ(connection->InterfaceSupportsErrorInfo(IID_ILTCommandSync), S_FALSE);
}

TEST_F(ConnectionTest, AHandlerOfAFailureStillSeesTheErrorInformationBeforeIt) {
  start();
  EXPECT_EQ(connect_to(u"127.0.0.1", peer.port()), E_FAIL);
  std::string seen;
  sync_listener->handler = [&](DISPID) {
    seen = told(E_FAIL);
    return S_OK;
  };
  EXPECT_EQ(told(connection->SelectNotificationMethod(KR_NM_Event, 12, 0)),
            "80004005 40018 Kestrine.LTConnect.1: TargetHandle notify method not yet supported for x64");
  EXPECT_EQ(seen, "80004005 40009 Kestrine.LTConnect.1: " + kAlreadyConnected);
}

TEST_F(ConnectionTest, WithTheExceptionPolicyFailuresAreThrownAfterTheEvent) {
  start();
  for (const int policy : {1, -7}) {
    EXPECT_EQ(connection->put_ExceptionHandlingPolicy(policy), S_OK);
    try {
      connect_to(u"127.0.0.1", peer.port());
      ADD_FAILURE() << "nothing was thrown";
    } catch (const _com_error& error) {
      EXPECT_EQ(error.Error(), E_FAIL);
      EXPECT_EQ(error.Description(), u"Object already connected to server\n");
      EXPECT_EQ(error.Source(), u"Kestrine.LTConnect.1");
    }
    EXPECT_EQ(heard(), Lines({"sync ExceptionEvent 40009 '" + kAlreadyConnected + "'"}));
    EXPECT_EQ(told(E_FAIL), "80004005 40009 Kestrine.LTConnect.1: " + kAlreadyConnected);
  }
  connection->notification.method = KR_NM_WM_CopyData;
  EXPECT_THROW(connect_to(u"127.0.0.1", peer.port()), _com_error);
  EXPECT_EQ(heard(), Lines()) << "no event but under KR_NM_Event";
  EXPECT_THROW(connection->SelectNotificationMethod(KR_NM_Event, 1, 0), _com_error);
  platform::close_socket(connection->socket);
  EXPECT_THROW(connection->DisconnectEmbeddedSystem(), _com_error);
  EXPECT_EQ(is_connected(), 0);
  EXPECT_EQ(connection->put_ExceptionHandlingPolicy(0), S_OK);
  EXPECT_EQ(try_connect(u"", 1).substr(0, 14), "80004005 40010");
}

TEST_F(ConnectionTest, AWaitingCallNeverThrows) {
  start();
  connection->put_ExceptionHandlingPolicy(1);
  peer.serve([](const Bytes&) { return answer(VL_C_GoBirdBath, 5); });
  EXPECT_EQ(commands->GoBirdBath(), E_FAIL);
  peer.close();
}

TEST_F(ConnectionTest, ForcingASingleConnectionChangesNothing) {
  start();
  EXPECT_EQ(connection->put_ForceSingleConnection(-1), S_OK);
  expect_that_packets_arrive();
  EXPECT_EQ(connection->put_IsHostedByWebApplication(5), S_OK);
  EXPECT_TRUE(process.web_hosted);
  EXPECT_EQ(connection->put_IsHostedByWebApplication(0), S_OK);
  EXPECT_FALSE(process.web_hosted);
  EXPECT_EQ(connection->put_SupportLegacyStationaryMode(2), S_OK);
  EXPECT_TRUE(connection->legacy_stationary_mode);
}

TEST_F(ConnectionTest, ANullOutputIsRefused) {
  make();
  EXPECT_EQ(connection->get_IsConnected(nullptr), E_POINTER);
  EXPECT_EQ(connection->get_LastResultStatus(nullptr), E_POINTER);
  EXPECT_EQ(connection->GetData(nullptr), E_POINTER);
  EXPECT_EQ(connection->get_ILTCommandSync(nullptr), E_POINTER);
  EXPECT_EQ(connection->get_ILTCommandAsync(nullptr), E_POINTER);
}

TEST_F(ConnectionTest, ARequestIsSentAsItStands) {
  start();
  peer.serve([](const Bytes&) { return answer(VL_C_GoBirdBath, 0); });
  EXPECT_EQ(told(commands->GoBirdBath()), "ok");
  Bytes expected = packet(12, VL_DT_Command);
  put_i32(expected, 8, VL_C_GoBirdBath);
  EXPECT_EQ(peer.requests(), std::vector<Bytes>{expected});
}

}  // namespace
}  // namespace kestrine::test
