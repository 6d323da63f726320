// The frame of packets, and the events that answers, error packets and status changes fire.
#include "client_test.h"

namespace kestrine::test {
namespace {

class Answers : public ClientTest {
 protected:
  Lines of(const Bytes& bytes) {
    deliver(bytes);
    return heard();
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

TEST_F(Answers, ToNoCommandFireNothing) {
  make(kAsync);
  for (const std::int32_t command : {-1, 50, 64, 145}) {
    for (const std::int32_t status : {0, 3}) {
      EXPECT_EQ(of(answer(command, status)), Lines{}) << command;
      EXPECT_EQ(connection->last_result_status(), status);
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

TEST_F(Answers, InErrorPacketsReachTheAsynchronousInterfaceWhateverTheStatus) {
  make(kBoth);
  EXPECT_EQ(of(answer(VL_C_Park, 0, VL_DT_Error)), Lines{"async ErrorEvent 10 0"});
  EXPECT_EQ(of(answer(VL_C_Park, 5, VL_DT_Error)), Lines{"async ErrorEvent 10 5"});
  EXPECT_EQ(of(answer(VL_C_Unknown, 5, VL_DT_Error)), (Lines{"sync ErrorEvent 64 5", "async ErrorEvent 64 5"}));
}

}  // namespace
}  // namespace kestrine::test
