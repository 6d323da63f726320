// The frame of packets, and the events that answers, error packets and status changes fire.
#include <set>

#include "client_test.h"

namespace kestrine::test {
namespace {

class Answers : public ClientTest {
 protected:
  Lines of(const Bytes& bytes) {
    deliver(bytes);
    return heard();
  }
  static Bytes long_answer(std::int32_t command, std::int32_t status) {
    Bytes bytes = packet(1000, VL_DT_Command);
    put_i32(bytes, 8, command);
    put_i32(bytes, 12, status);
    return bytes;
  }
};

TEST_F(Answers, WithABrokenFrameChangeNothingButBeep) {
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

TEST_F(Answers, SetTheLastStatusToTheWordAtByteTwelveOfAnyPacket) {
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

TEST_F(Answers, WithoutDataCompleteOrFailTheirCommand) {
  make(kAsync);
  const std::set<std::int32_t> completing = {0,  3,  5,  7,  8,  9,   10,  11,  12,  14,  16,  18,  20,  22,  24,  26,
                                             28, 30, 32, 34, 36, 38,  40,  43,  45,  47,  49,  51,  52,  53,  54,  55,
                                             56, 57, 58, 59, 60, 61,  62,  63,  68,  69,  70,  71,  72,  76,  77,  79,
                                             80, 83, 92, 95, 96, 101, 109, 112, 115, 120, 125, 130, 134, 135, 137, 144};
  for (std::int32_t command = -1; command <= 150; ++command) {
    const std::string code = std::to_string(command);
    const bool completed = completing.contains(command);
    const bool no_command = command < 0 || command == 50 || command == 64 || command > 144;
    const Lines good = of(long_answer(command, 0));
    EXPECT_EQ(good == Lines{"async CommandCompletedData " + code}, completed) << command;
    EXPECT_EQ(good.empty(), no_command) << command;
    const Lines bad = of(long_answer(command, 3));
    EXPECT_EQ(connection->last_result_status(), 3);
    if (completed || no_command) {
      EXPECT_EQ(bad, completed ? Lines{"async ErrorEvent " + code + " 3"} : Lines{}) << command;
    }
  }
}

TEST_F(Answers, WithABadStatusAreReportedByTheAsynchronousObject) {
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

TEST_F(Answers, CarryTheirFieldsInTheEventsOrder) {
  make(kAsync);
  Bytes bytes = long_answer(42, 0);
  put_i32(bytes, 16, 3);
  put_i32(bytes, 20, 7);
  put_i32(bytes, 24, 2);
  put_f64(bytes, 28, 0.75);
  for (std::size_t i = 0; i < 32; ++i) bytes[36 + 2 * i] = 'x';  // no end within the field
  EXPECT_EQ(of(bytes), Lines{"async ReflectorsData 7 '" + std::string(32, 'x') + "' 2 0.75 3"});
  bytes = long_answer(29, 0);
  put_i32(bytes, 16, 1500);
  put_i32(bytes, 20, 0x8000);
  EXPECT_EQ(of(bytes), Lines{"async StationaryModeParamsData 1500 b-32768"});
  bytes = long_answer(122, 0);
  put_i32(bytes, 16, 1);
  put_i32(bytes, 20, 2);
  EXPECT_EQ(of(bytes), Lines{"async MeasurementStatusInfoData 2"});
  bytes = long_answer(82, 0);
  put_i32(bytes, 16, 1);
  put_i32(bytes, 20, 976);
  EXPECT_EQ(of(bytes), Lines{"async StillImageDataReady 1 976 1000"});
}

TEST_F(Answers, InErrorPacketsReachTheAsynchronousInterfaceWhateverTheStatus) {
  make(kBoth);
  EXPECT_EQ(of(answer(VL_C_Park, 0, VL_DT_Error)), Lines{"async ErrorEvent 10 0"});
  EXPECT_EQ(of(answer(VL_C_Park, 5, VL_DT_Error)), Lines{"async ErrorEvent 10 5"});
  EXPECT_EQ(of(answer(VL_C_Unknown, 5, VL_DT_Error)), (Lines{"sync ErrorEvent 64 5", "async ErrorEvent 64 5"}));
}

}  // namespace
}  // namespace kestrine::test
