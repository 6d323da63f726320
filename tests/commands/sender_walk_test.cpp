// Every operation of ILTCommandAsync, sent, refused while a call waits, and not to be sent.
#include "operation_walk.h"

namespace kestrine::test {
namespace {

constexpr std::int32_t kMeasureTime = 1234;

class SenderWalk : public ClientTest {
 protected:
  TypedCall call(const AsyncOperation& row) {
    mode_ = std::string_view(row.name).starts_with("StartContinuous") ? VL_MM_ContinuousTime : VL_MM_Standard;
    connection->measurement().set_mode(mode_);
    connection->measurement().set_stationary_time(kMeasureTime);
    SetErrorInfo(0, nullptr);
    return row.call(*async_commands, random_);
  }
  void expect_remembered(std::int32_t mode, std::int32_t time) {
    connection::MeasurementState asked;
    asked.set_mode(mode);
    EXPECT_EQ(connection->measurement().is_stationary_point_mode(), asked.is_stationary_point_mode());
    EXPECT_EQ(connection->measurement().stationary_time(), time);
  }
  // Returned or, with the policy, thrown; told by each object that is present.
  void expect_failure(const AsyncOperation& row, const std::string& number, const std::string& text,
                      const Lines& objects) {
    for (const bool policy : {false, true}) {
      connection->put_ExceptionHandlingPolicy(policy ? 1 : 0);
      EXPECT_EQ(outcome([&] { return call(row).result; }),
                (policy ? "thrown 80004005 " : "80004005 ") + number + " Kestrine.LTConnect.1: " + text)
          << row.name;
      Lines events;
      for (const std::string& object : objects)
        events.push_back(object + " ExceptionEvent " + number + " '" + text + "'");
      EXPECT_EQ(heard(), events) << row.name;
      expect_remembered(mode_, kMeasureTime);
    }
  }

  std::int32_t mode_ = VL_MM_Stationary;  // in which the last call was made

 private:
  std::mt19937 random_{22};
};

TEST_F(SenderWalk, SendsItsArguments) {
  start(kAsync);
  for (const AsyncOperation& row : async_operations()) {
    const TypedCall made = call(row);
    EXPECT_EQ(told(made.result), "ok") << row.name;
    EXPECT_EQ(peer.receive_request(), expected_request(row, made)) << row.name;
    expect_remembered(row.code() == VL_C_SetMeasurementMode ? made.longs[0] : mode_,
                      row.code() == VL_C_SetStationaryModeParams ? made.longs[0] : kMeasureTime);
  }
  EXPECT_TRUE(peer.nothing_to_receive());
}

TEST_F(SenderWalk, IsRefusedWhileASynchronousCallWaits) {
  start(kBoth);
  later([&] {
    EXPECT_EQ(sent(), (std::vector<std::int32_t>{VL_C_Initialize}));
    for (const AsyncOperation& row : async_operations()) {
      expect_failure(row, "40001", "Command failed due to pending synchronous answer", {"sync", "async"});
    }
    EXPECT_TRUE(peer.nothing_to_receive());
    connection->put_ExceptionHandlingPolicy(0);
    peer.send(answer(VL_C_Initialize, 0));
  });
  EXPECT_EQ(told(commands->Initialize()), "ok");
}

TEST_F(SenderWalk, ReportsAFailedSend) {
  start(kAsync);
  connection->DisconnectEmbeddedSystem();
  for (const AsyncOperation& row : async_operations()) {
    expect_failure(row, "40002", join({"Invoking command \"", row.text(), "\" [", number(row.code()), "] failed!"}),
                   {"async"});
  }
}

}  // namespace
}  // namespace kestrine::test
