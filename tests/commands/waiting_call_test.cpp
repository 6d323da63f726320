// One waiting call from its beginning to its end.
#include <chrono>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include "client_test.h"
#include "kestrine/host.h"

namespace kestrine::test {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

class WaitingCall : public ClientTest {};

TEST_F(WaitingCall, NamesItsInterfaceInTheErrorInformation) {
  start();
  for (const std::int32_t status : {2, 11}) {  // raised, and only reported
    peer.send(answer(VL_C_Initialize, status));
    commands->Initialize();
    Pointer<IErrorInfo> info;
    GUID iid{};
    ASSERT_EQ(GetErrorInfo(0, info.put()), S_OK);
    info->GetGUID(&iid);
    EXPECT_TRUE(iid == IID_ILTCommandSync);
  }
}

TEST_F(WaitingCall, OfTheCommandWithTheNumberZeroRefusesASecondOneToo) {
  start();
  engine().begin_wait(VL_C_ExitApplication);
  EXPECT_EQ(told(commands->ReleaseMotors()).substr(0, 14), "80004005 40001");
  EXPECT_TRUE(peer.nothing_to_receive());
}

TEST_F(WaitingCall, EndsWhenItsHostGivesUp) {
  start();
  later([&] { engine().time_out(); });
  EXPECT_TRUE(told(commands->Initialize()).ends_with("timed out!"));
  int asked = 0;
  host::set_give_up_hook([&] { return ++asked == 3; });
  EXPECT_EQ(told(commands->Initialize()),
            "80004005 36 Kestrine.LTConnect.1: [7] \"Initialize\" failed  (status:  Unknown status)");
  EXPECT_EQ(asked, 3);
  host::set_give_up_hook({});
}

class SlicedCall : public ClientTest {
 protected:
  SlicedCall() : ClientTest(connection::kClassicRules) {}
};

TEST_F(SlicedCall, LooksAtItsMessagesEveryTenMilliseconds) {
  start();
  const auto begin = Clock::now();
  for (int i = 0; i < 3; ++i) {
    peer.send(answer(VL_C_Initialize, 0));
    EXPECT_EQ(told(commands->Initialize()), "ok");
  }
  EXPECT_GE(Clock::now() - begin, 30ms);
}

TEST_F(WaitingCall, IsNotHeldBackByTheSystem) {
  start();
  int on = 0;
  socklen_t length = sizeof on;
  EXPECT_EQ(::getsockopt(peer.client_descriptor(), IPPROTO_TCP, TCP_NODELAY, &on, &length), 0);
  EXPECT_NE(on, 0);
}

TEST_F(WaitingCall, LosesAQuitMessageAndDropsTheIdleNotice) {
  start();
  struct Window final : platform::WindowProcedure {
    std::int64_t on_message(const platform::Message& message) override {
      ids.push_back(message.id);
      return 0;
    }
    std::vector<std::uint32_t> ids;
  } window;
  const platform::WindowHandle handle = platform::create_window(window, u"application");
  platform::post_message(handle, 0x036A, 0, 0);
  platform::post_message(handle, 0x036B, 0, 0);
  platform::post_quit_message(3);
  later([&] { peer.send(answer(VL_C_Initialize, 0)); }, 20);
  EXPECT_EQ(told(commands->Initialize()), "ok");
  EXPECT_EQ(window.ids, std::vector<std::uint32_t>{0x036B});
  EXPECT_TRUE(host::run_for(5ms)) << "the quit message has survived";
  platform::destroy_window(handle);
}

TEST_F(WaitingCall, SurvivesADisconnectFromInsideAHandlerUntilItsTimeout) {
  set_timeout(u"StandardWaitTime", 40);
  start();
  sync_listener->handler = [&](DISPID) { return connection->DisconnectEmbeddedSystem(); };
  peer.send(status_change(VL_SSC_MeasStatus_Busy));
  EXPECT_EQ(told(commands->ReleaseMotors()),
            "80004005 36 Kestrine.LTConnect.1: [8]  Release Motors:  No answer, timed out!");
  EXPECT_EQ(heard().front(), "sync StatusChangeEvent 26");
  EXPECT_TRUE(peer.client_leaves());
}

}  // namespace
}  // namespace kestrine::test
