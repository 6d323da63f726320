// The frame of packets, and the events that answers, error packets and results fire.
#include "client_test.h"

namespace kestrine::test {
namespace {

Bytes result_in(std::int32_t mode, std::int32_t type) {
  Bytes bytes = result(type);
  put_i32(bytes, 12, mode);
  return bytes;
}

class Packets : public ClientTest {
 protected:
  Lines of(const Bytes& bytes) {
    deliver(bytes);
    return heard();
  }
};

TEST_F(Packets, WithABrokenFrameChangeNothingButBeep) {
  make(kBoth);
  const struct {
    const char* what;
    std::int32_t type;
    int capacity;
    int received;
    bool beeps;
  } cases[] = {{"more than the buffer", 0, 15, 16, true},    {"nothing", 0, 1024, 0, true},
               {"one byte too few", 0, 1024, 15, true},      {"one byte too many", 0, 1024, 17, true},
               {"type below the first", -1, 1024, 16, true}, {"type behind the last", 12, 1024, 16, true},
               {"last loud type", 999, 1024, 16, true},      {"first silent type", 1000, 1024, 16, false}};
  for (const auto& [what, type, capacity, received, beeps] : cases) {
    environment.beeps.clear();
    deliver(answer(VL_C_Initialize, 3, type), capacity, received);
    EXPECT_EQ(environment.beeps, beeps ? (std::vector<Environment::Beep>{{4000, 100}}) : decltype(environment.beeps)())
        << what;
    EXPECT_EQ(connection->last_result_status(), VL_RS_Unknown) << what;
    EXPECT_EQ(heard(), Lines{}) << what;
  }
}

TEST_F(Packets, SetTheLastStatusToTheWordAtByteTwelveOfAnyPacket) {
  make(kBoth);
  for (std::int32_t type = VL_DT_Command; type <= VL_DT_ProbePosResult; ++type) {
    Bytes bytes = packet(400, type);
    put_i32(bytes, 12, 100 + type);
    deliver(bytes);
    EXPECT_EQ(connection->last_result_status(), 100 + type);
  }
  connection->buffers().for_type(VL_DT_SystemStatusChange).bytes[12] = 0x4D;  // what lies behind a status change
  deliver(status_change(5));
  EXPECT_EQ(connection->last_result_status() & 0xFF, 0x4D);
}

TEST_F(Packets, AnswersToNoCommandFireNothing) {
  make(kAsync);
  for (const std::int32_t command : {-1, 50, 64, 999}) {
    for (const std::int32_t status : {0, 3}) {
      EXPECT_EQ(of(answer(command, status)), Lines{}) << command;
      EXPECT_EQ(connection->last_result_status(), status);
    }
  }
}

TEST_F(Packets, AnswersWithABadStatusAreReportedByTheAsynchronousObject) {
  make(kAsync);
  const struct {
    Bytes bytes;
    std::string information;
  } cases[] = {
      {answer(VL_C_Initialize, 3),
       "1 3 Kestrine.LTCommandAsync.1: [7] \"Initialize\" failed  (status:  Wrong Parameter)"},
      {answer(VL_C_Initialize, 13),
       "1 13 Kestrine.LTCommandAsync.1: Warning: Parameter 2 out of range but still accepted"},
      {answer(VL_C_Unknown, 1, VL_DT_Error),
       "1 1 Kestrine.LTCommandAsync.1: [64] \"Error Event\"   (status:  Server Busy)"},
  };
  for (const auto& [bytes, information] : cases) {
    EXPECT_EQ(of(bytes).size(), 1u);  // an ErrorEvent and no ExceptionEvent
    EXPECT_EQ(told(S_FALSE), information);
  }
}

TEST_F(Packets, ResultsThatACallConsumedAreKeptFromTheSynchronousInterfaceOnlyWhenStationary) {
  make(kBoth);
  for (const std::int32_t mode : {0, 4}) {
    connection->measurement().set_mode(mode);
    connection->measurement().on_start_sent();
    engine().begin_wait(VL_C_StartMeasurement);
    EXPECT_EQ(of(result_in(mode, VL_DT_SingleMeasResult)).size(), mode == 0 ? 1u : 2u);
    EXPECT_FALSE(engine().is_answer_pending());
    EXPECT_TRUE(connection->measurement().is_start_acknowledged());
  }
}

TEST_F(Packets, ResultsOfAProbeSetTheLegacyFlagAndEndACall) {
  make(kBoth);
  for (const std::int32_t mode : {VL_MM_Standard, VL_MM_6DStationary, VL_MM_Stationary}) {
    connection->measurement().set_legacy_stationary(mode != VL_MM_Standard);  // overwritten by the packet
    connection->measurement().on_start_sent();
    engine().begin_wait(VL_C_StartMeasurement);
    const std::size_t events = mode == VL_MM_6DStationary ? 1 : 2;  // a call that consumes it changes nothing
    EXPECT_EQ(of(result_in(mode, VL_DT_StationaryProbeMeasResult)).size(), events) << mode;
    EXPECT_FALSE(engine().is_answer_pending());
    EXPECT_TRUE(connection->measurement().is_start_acknowledged());
    connection->measurement().set_mode(VL_MM_Stationary);
    EXPECT_EQ(connection->measurement().check_mode(protocol::ModeCheck::kContinuousProbe) != nullptr,
              mode == VL_MM_Standard);
  }
}

}  // namespace
}  // namespace kestrine::test
