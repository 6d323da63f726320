// Where received packets lie, and how an application that asks for no events learns of them.
#include "stream_test.h"

namespace kestrine::test {
namespace {

class DeliveryTest : public StreamTest {
 protected:
  // The packet comes and has been dispatched.
  void receive(const Bytes& bytes) {
    const std::size_t before = packets.size();
    peer.send(bytes);
    ASSERT_TRUE(arrives(before + 1));
  }
};

TEST_F(DeliveryTest, EachKindHasABufferOfItsOwn) {
  start();
  const std::int32_t kinds[] = {
      VL_DT_Command,        VL_DT_Error, VL_DT_TiltraResult, VL_DT_ReflectorPosResult, VL_DT_SystemStatusChange,
      VL_DT_MultiMeasResult};
  for (const std::int32_t kind : kinds) {
    receive(filled(24 + kind, kind));
    EXPECT_EQ(data(), filled(24 + kind, kind));
  }
  for (const std::int32_t kind : kinds) {
    const auto buffer = connection->buffer_for(kind);
    EXPECT_EQ(Bytes(buffer.bytes, buffer.bytes + 24 + kind), filled(24 + kind, kind)) << kind;
  }
  receive(status_change(26));
  EXPECT_EQ(connection->last_result_status,
            get_i32(filled(24 + VL_DT_SystemStatusChange, VL_DT_SystemStatusChange), 12))
      << "behind a short packet stands what was there before";
}

TEST_F(DeliveryTest, KindsThatShareABufferOverwriteEachOther) {
  start();
  const std::int32_t measurements[] = {VL_DT_SingleMeasResult,
                                       VL_DT_MultiMeasResult,
                                       VL_DT_StationaryProbeMeasResult,
                                       VL_DT_ContinuousProbeMeasResult,
                                       VL_DT_SingleMeasResult2,
                                       VL_DT_MultiMeasResult2,
                                       VL_DT_ProbePosResult,
                                       12,
                                       5'000};
  for (const std::int32_t kind : measurements) {
    receive(filled(400, kind));
    const auto& buffer =
        kind == VL_DT_ProbePosResult ? connection->last_position.data() : connection->last_measurement.data();
    EXPECT_EQ(get_i32({buffer, 8}, 4), kind);
    EXPECT_EQ(data(), filled(400, kind)) << "also of a type that nobody knows";
  }
  receive(filled(36, VL_DT_ReflectorPosResult));
  EXPECT_EQ(get_i32(connection->last_position, 4), VL_DT_ReflectorPosResult);
}

TEST_F(DeliveryTest, BeforeAnyPacketTheDataAreEmpty) {
  make();
  EXPECT_EQ(data(), Bytes());
  connect();
  EXPECT_EQ(data(), Bytes());
}

TEST_F(DeliveryTest, DataWithoutMemoryForThemAreAFailure) {
  make();
  connection->received_length = -1;  // no array is that large
  VARIANT untouched{};
  untouched.vt = VT_I4;
  EXPECT_EQ(told(connection->GetData(&untouched)),
            "80004005 40007 Kestrine.LTConnect.1: SAFEARRAY creation failed (fatal error) !");
  EXPECT_EQ(untouched.vt, VT_I4);
}

TEST_F(DeliveryTest, EachCallGivesACopyOfTheCallersOwn) {
  start();
  const Bytes first = answer(VL_C_GoBirdBath, 0);
  receive(first);
  VARIANT one;
  VARIANT two;
  ASSERT_EQ(connection->GetData(&one), S_OK);
  ASSERT_EQ(connection->GetData(&two), S_OK);
  EXPECT_NE(one.parray, two.parray);
  receive(answer(VL_C_GoBirdBath, 3));
  void* bytes = nullptr;
  ASSERT_EQ(SafeArrayAccessData(one.parray, &bytes), S_OK);
  EXPECT_EQ(Bytes(static_cast<std::uint8_t*>(bytes), static_cast<std::uint8_t*>(bytes) + 16), first);
  SafeArrayUnaccessData(one.parray);
  EXPECT_EQ(VariantClear(&one), S_OK);
  EXPECT_EQ(VariantClear(&two), S_OK);
  EXPECT_EQ(data(), answer(VL_C_GoBirdBath, 3));
  EXPECT_EQ(data(), answer(VL_C_GoBirdBath, 3)) << "the same packet as often as asked";
}

TEST_F(DeliveryTest, ATargetHandleIsRefusedAndNothingIsStored) {
  start();
  ASSERT_EQ(connection->SelectNotificationMethod(KR_NM_Event, 0, 5), S_OK);
  const std::string text = "TargetHandle notify method not yet supported for x64";
  EXPECT_EQ(told(connection->SelectNotificationMethod(KR_NM_None, 12'345, 6)),
            "80004005 40018 Kestrine.LTConnect.1: " + text);
  EXPECT_EQ(heard(), Lines({"sync ExceptionEvent 40018 '" + text + "'", "async ExceptionEvent 40018 '" + text + "'"}));
  EXPECT_EQ(connection->notification.method, KR_NM_Event);
  EXPECT_EQ(connection->notification.cookie, 5);
}

}  // namespace
}  // namespace kestrine::test
