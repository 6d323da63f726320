// The frame of packets, and the events that answers, error packets and results fire.
#include "client_test.h"

namespace kestrine::test {
namespace {

Bytes result(std::int32_t type, std::int32_t size, std::int32_t status, std::int32_t mode = 4) {
  Bytes bytes = packet(size, type);
  put_i32(bytes, 8, status);
  put_i32(bytes, 12, mode);
  return bytes;
}

Bytes point(std::int32_t status = 0) {
  return result(VL_DT_SingleMeasResult, 156, status);
}

Bytes point2(std::int32_t status = 0) {
  return result(VL_DT_SingleMeasResult2, 204, status);
}

Bytes probe(std::int32_t mode, std::int32_t status = 0) {
  return result(VL_DT_StationaryProbeMeasResult, 376, status, mode);
}

class Packets : public ClientTest {
 protected:
  Lines of(const Bytes& bytes) {
    deliver(bytes);
    return heard();
  }
  Lines names_of(const Bytes& bytes) {
    Lines names;
    for (const std::string& line : of(bytes)) names.push_back(line.substr(0, line.find(' ', line.find(' ') + 1)));
    return names;
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

TEST_F(Packets, ErrorsReachTheAsynchronousInterfaceWhateverTheirStatus) {
  make(kBoth);
  EXPECT_EQ(of(answer(VL_C_Park, 0, VL_DT_Error)), Lines{"async ErrorEvent 10 0"});
  EXPECT_EQ(of(answer(VL_C_Park, 5, VL_DT_Error)), Lines{"async ErrorEvent 10 5"});
  EXPECT_EQ(of(answer(VL_C_Unknown, 5, VL_DT_Error)), (Lines{"sync ErrorEvent 64 5", "async ErrorEvent 64 5"}));
}

TEST_F(Packets, ResultsOfASinglePointFollowTheMode) {
  make(kBoth);
  for (const std::int32_t mode : {0, 1, 4, 6, 19, 20, 21, 22, 23, 24}) {
    connection->measurement().set_mode(mode);
    const bool stationary = mode == 0 || (mode >= 20 && mode <= 23);
    EXPECT_EQ(names_of(point()), stationary ? (Lines{"sync StationaryPointMeasData", "async StationaryPointMeasData"})
                                            : (Lines{"sync CenterPointData", "async CenterPointData"}));
    EXPECT_EQ(names_of(point2()), stationary
                                      ? (Lines{"sync StationaryPoint2MeasData", "async StationaryPoint2MeasData"})
                                      : (Lines{"sync CenterPoint2Data", "async CenterPoint2Data"}));
    EXPECT_EQ(of(point(5)).back(), "async ErrorEvent 49 5");  // only the asynchronous interface tests the status
    EXPECT_EQ(of(point(5)).size(), 2u);
  }
}

TEST_F(Packets, ResultsThatACallConsumedAreKeptFromTheSynchronousInterfaceOnlyWhenStationary) {
  make(kBoth);
  for (const std::int32_t mode : {0, 4}) {
    connection->measurement().set_mode(mode);
    connection->measurement().on_start_sent();
    engine().begin_wait(VL_C_StartMeasurement);
    EXPECT_EQ(of(point()).size(), mode == 0 ? 1u : 2u);
    EXPECT_FALSE(engine().is_answer_pending());
    EXPECT_TRUE(connection->measurement().is_start_acknowledged());
  }
}

TEST_F(Packets, ResultsOfAProbeAreToldDifferentlyByTheTwoInterfaces) {
  make(kBoth);
  const struct {
    std::int32_t mode;
    Lines good;
    Lines bad;
  } cases[] = {
      {VL_MM_Standard,
       {"sync StationaryProbeMeasData", "async StationaryProbeMeasData"},
       {"async ErrorEvent", "async ErrorEvent"}},
      {VL_MM_6DStationary, {"async StationaryProbeMeasData"}, {"async ErrorEvent"}},
      {VL_MM_Stationary,
       {"sync CenterPointProbeData", "async CenterPointProbeData"},
       {"sync CenterPointProbeData", "async ErrorEvent"}},
  };
  for (const auto& [mode, good, bad] : cases) {
    connection->measurement().set_legacy_stationary(mode != VL_MM_Standard);  // overwritten by the packet
    connection->measurement().on_start_sent();
    engine().begin_wait(VL_C_StartMeasurement);  // a call that consumes it changes nothing
    EXPECT_EQ(names_of(probe(mode)), good) << mode;
    EXPECT_EQ(names_of(probe(mode, 5)), bad) << mode;
    connection->measurement().set_mode(VL_MM_Stationary);
    EXPECT_EQ(connection->measurement().check_mode(protocol::ModeCheck::kContinuousProbe) != nullptr,
              mode == VL_MM_Standard)
        << "the legacy flag";
    EXPECT_TRUE(connection->measurement().is_start_acknowledged());
  }
}

}  // namespace
}  // namespace kestrine::test
