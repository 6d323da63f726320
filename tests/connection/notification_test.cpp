// Packets by message: what the hook gets that stands where an application's window would.
#include "client_test.h"
#include "kestrine/host.h"

namespace kestrine::test {
namespace {

constexpr auto kUnknownMethod = static_cast<KR_NotifyMethod>(7);

class NotificationTest : public ClientTest {
 protected:
  NotificationTest() {
    host::set_window_message_hook([this](std::uint32_t message, std::uint64_t wparam, std::int64_t lparam) {
      if (connection->notification().method == KR_NM_WM_CopyData) {
        const auto& record = *reinterpret_cast<const COPYDATASTRUCT*>(lparam);
        copied_from = static_cast<const std::uint8_t*>(record.lpData);
        copied.assign(copied_from, copied_from + record.cbData);
        lparam = static_cast<std::int64_t>(record.dwData);
      }
      notes.push_back(tell(message) + " " + tell(wparam) + " " + tell(lparam));
      if (then) std::exchange(then, {})();
    });
  }
  ~NotificationTest() override { host::set_window_message_hook({}); }

  static std::string tell(auto number) { return std::to_string(number); }
  void select(KR_NotifyMethod method, std::int32_t cookie = 2'100) {
    ASSERT_EQ(connection->SelectNotificationMethod(method, 0, cookie), S_OK);
  }
  // What the packet brings about once it has been dispatched.
  Lines notes_of(const Bytes& bytes) {
    receive(bytes);
    return std::exchange(notes, {});
  }

  Lines notes;  // message, first parameter, second one; for a message with a record the record's number
  const std::uint8_t* copied_from = nullptr;
  Bytes copied;
  std::function<void()> then;  // what the hook does besides, once
};

TEST_F(NotificationTest, TellsOfEveryKindOfPacketInTheChosenWay) {
  start(kBoth);
  for (const auto method : {KR_NM_None, KR_NM_WM_CopyData, KR_NM_Event, KR_NM_WM_Notify, kUnknownMethod}) {
    for (const std::int32_t cookie : {2'100, -2}) {
      select(method, cookie);
      const std::string number = tell(static_cast<std::uint32_t>(cookie));
      for (std::int32_t type = VL_DT_Command; type <= VL_DT_ProbePosResult; ++type) {
        SCOPED_TRACE(testing::Message() << "method " << method << ", cookie " << cookie << ", type " << type);
        const Bytes bytes = filled(24 + 3 * type, type);
        Lines expected;
        if (method == KR_NM_WM_CopyData) expected = {"74 " + tell(generation.window()) + " " + number};
        if (method == KR_NM_WM_Notify) expected = {number + " " + number + " " + tell(bytes.size())};
        EXPECT_EQ(notes_of(bytes), expected);
        if (method == KR_NM_WM_CopyData) {
          EXPECT_EQ(copied_from, connection->buffers().for_type(type).bytes);
          EXPECT_EQ(copied, bytes);
        }
        EXPECT_EQ(heard().empty(), method != KR_NM_Event || type == VL_DT_Command);
      }
    }
  }
}

TEST_F(NotificationTest, CarriesTheWindowThatThePacketCameTo) {
  start();
  const platform::WindowHandle window = generation.window();
  select(KR_NM_WM_CopyData);
  const auto later = Pointer<Connect>::adopt(new Connect(keep_generation));
  outlive_the_suspicion();
  ASSERT_NE(generation.window(), window);
  EXPECT_EQ(notes_of(status_change(26)), Lines{"74 " + tell(window) + " 2100"});
}

TEST_F(NotificationTest, ComesLastAndLeavesWaitingCallsTheirAnswers) {
  start(kBoth);
  for (const auto method : {KR_NM_WM_CopyData, KR_NM_WM_Notify}) {
    select(method);
    std::string seen;
    then = [&] { seen = tell(connection->last_result_status()) + (engine().is_answer_pending() ? "" : " served"); };
    peer.send(answer(VL_C_ReleaseMotors, 11));
    EXPECT_EQ(told(commands->ReleaseMotors()).substr(0, 4), "1 11") << method;
    EXPECT_EQ(seen, "11 served") << method;
  }
}

TEST_F(NotificationTest, StaysAsChosenUntilTheNextPacketOfAnyConnection) {
  start(kBoth);
  select(KR_NM_WM_Notify);
  EXPECT_EQ(connection->SelectNotificationMethod(KR_NM_None, 1, 5), E_FAIL) << "a target is refused";
  connection->DisconnectEmbeddedSystem();
  connect();
  EXPECT_EQ(notes_of(status_change(26)), Lines{"2100 2100 12"});
  select(KR_NM_Event);
  sync_listener->handler = [&](DISPID) {
    select(KR_NM_WM_CopyData);
    return S_OK;
  };
  EXPECT_EQ(notes_of(status_change(26)), Lines()) << "whatever the handlers of the packet choose";
  EXPECT_EQ(notes_of(status_change(26)).size(), 1u);
}

TEST_F(NotificationTest, MayBeFollowedByAnyCallFromTheHook) {
  start(kBoth);
  select(KR_NM_WM_Notify);
  std::string outcome;
  then = [&] {
    EXPECT_EQ(data(), status_change(26));
    peer.send(answer(VL_C_ReleaseMotors, 0));
    outcome = told(commands->ReleaseMotors());
  };
  const auto both = notes_of(status_change(26));
  EXPECT_EQ(outcome, "ok");
  EXPECT_EQ(both, (Lines{"2100 2100 12", "2100 2100 16"}));

  select(KR_NM_WM_CopyData);
  deliver(answer(VL_C_Park, 0), 15);
  EXPECT_EQ(notes, Lines()) << "a broken packet";
  then = [] { host::set_window_message_hook({}); };
  EXPECT_EQ(notes_of(answer(VL_C_Park, 0)).size(), 1u);
  EXPECT_EQ(notes_of(answer(VL_C_Park, 0)).size(), 0u) << "nobody is there to be told";
}

TEST_F(NotificationTest, MayEndEverythingFromTheHook) {
  start(kBoth);
  select(KR_NM_WM_CopyData);
  then = [&] { EXPECT_EQ(connection->DisconnectEmbeddedSystem(), S_OK); };
  EXPECT_EQ(notes_of(answer(VL_C_Park, 0) + answer(VL_C_Park, 1)).size(), 1u);
  connect();
  then = [&] { commands.reset(), async_commands.reset(), connection.reset(); };
  EXPECT_EQ(notes_of(answer(VL_C_Park, 2)).size(), 1u);
  EXPECT_EQ(copied, answer(VL_C_Park, 2));
  EXPECT_TRUE(peer.client_leaves());
}

}  // namespace
}  // namespace kestrine::test
