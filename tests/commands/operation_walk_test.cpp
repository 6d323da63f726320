// Every operation of ILTCommandSync, in every way in which it can end but by its timer.
#include <array>

#include "commands/arguments.h"
#include "kestrine/com_error.h"
#include "operation_walk.h"

namespace kestrine::test {
namespace {

template <class Interface>
void expect_places_and_types(const std::vector<Operation<Interface>>& operations) {
  std::size_t slot = 3;  // behind those of IUnknown
  for (const Operation<Interface>& row : operations) {
    std::string types;
    for (const protocol::Value& value : row.values) {
      types += (value.out ? "LBDTVR" : "lbdtvr")[static_cast<int>(value.type)];
    }
    EXPECT_EQ(row.slot, slot++) << row.name;
    EXPECT_EQ(row.types, types) << row.name;
  }
}

TEST_F(Operations, HaveTheirPlacesInTheInterfacesAndTheirParameters) {
  expect_places_and_types(sync_operations());
  expect_places_and_types(async_operations());
}

TEST_F(Operations, SendTheirInputsAndHandOutWhatTheServerAnswers) {
  start();
  for (int round = 0; round < 3; ++round) {
    for (const SyncOperation& row : chosen(sends)) {
      const Bytes bytes = waits(row) ? reply(row, 0) : Bytes();
      peer.send(bytes);
      const TypedCall made = call(row);
      EXPECT_EQ(told(made.result), "ok") << row.name;
      EXPECT_EQ(peer.receive_request(), expected_request(row, made)) << row.name;
      EXPECT_EQ(made.outputs, expected_outputs(row, made, bytes)) << row.name;
      EXPECT_EQ(exceptions(), Lines{}) << row.name;
      ASSERT_FALSE(HasFailure());
    }
  }
  EXPECT_TRUE(peer.nothing_to_receive());
}

TEST_F(Operations, TellOfEveryWarning) {
  start();
  for (const SyncOperation& row : chosen(waits)) {
    for (std::int32_t parameter = 1; parameter <= 6; ++parameter) {
      const std::int32_t status = 9 + 2 * parameter;
      peer.send(reply(row, status));
      const TypedCall made = call(row);
      EXPECT_EQ(told(made.result), join({"1 ", number(status), " Kestrine.LTCommandSync.1: Warning: Parameter ",
                                         number(parameter), " out of range but still accepted"}))
          << row.name;
      EXPECT_EQ(exceptions(), Lines{}) << row.name;
    }
  }
}

TEST_F(Operations, FailWithTheServersRefusal) {
  start();
  for (const SyncOperation& row : chosen(waits)) {
    const Bytes bytes = reply(row, VL_RS_WrongParameter);
    peer.send(bytes);
    const TypedCall made = call(row);
    expect_failure(row, made.result, VL_RS_WrongParameter,
                   join({"[", number(row.code()), "] \"", row.text(), "\" failed  (status:  Wrong Parameter)"}));
    // A point that was not measured is not handed out; all else comes whatever the status.
    const bool is_point = row.packet_type() == VL_DT_SingleMeasResult || row.packet_type() == VL_DT_SingleMeasResult2;
    if (is_point) {
      for (const std::string& output : made.outputs) {
        EXPECT_EQ(output.find_first_of("123456789"), std::string::npos) << row.name;
      }
    } else {
      EXPECT_EQ(made.outputs, expected_outputs(row, made, bytes)) << row.name;
    }
  }
}

bool needs_a_result(const SyncOperation& row) {
  return row.source == protocol::Source::kMeasurement;
}

TEST_F(Operations, EndWithTheAnswerToAnotherCommandButHandOutNoOldResult) {
  start();
  for (const SyncOperation& row : chosen(waits)) {
    if (needs_a_result(row)) deliver(reply(row, 0));  // arrives while nobody waits
    peer.send(answer(VL_C_ActivateCameraView, 0));
    const HRESULT result = call(row).result;
    if (needs_a_result(row)) {
      expect_failure(row, result, VL_RS_Unknown,
                     join({"[", number(row.code()), "] \"", row.text(), "\" failed  (status:  Unknown status)"}));
    } else {
      EXPECT_EQ(told(result), "ok") << row.name;
    }
  }
}

TEST_F(Operations, EndWithTheServer) {
  start();
  for (const SyncOperation& row : chosen(waits)) {
    peer.send(status_change(VL_SSC_ServerClosing));
    expect_failure(row, call(row).result, VL_RS_Unknown,
                   join({"[", number(row.code()), "] \"", row.text(), "\" failed  (status:  Unknown status)"}));
    EXPECT_FALSE(connection->link().mark_ended());
  }
}

TEST_F(Operations, RememberTheModeAndTheTimeThatTheServerHasTaken) {
  start();
  for (const SyncOperation& row : chosen(waits)) {
    for (const std::int32_t status : {0, 11, 3}) {
      peer.send(reply(row, status));
      const TypedCall made = call(row, 1234);
      const bool taken = status != 3;
      const bool sets_mode = row.code() == VL_C_SetMeasurementMode;
      const bool sets_time = row.code() == VL_C_SetStationaryModeParams;
      const std::int32_t mode =
          std::string_view(row.name).starts_with("StartContinuous") ? VL_MM_ContinuousTime : VL_MM_Standard;
      connection::MeasurementState asked;
      asked.set_mode(sets_mode && taken ? made.longs[0] : mode);
      EXPECT_EQ(connection->measurement().is_stationary_point_mode(), asked.is_stationary_point_mode()) << row.name;
      EXPECT_EQ(connection->measurement().stationary_time(), sets_time && taken ? made.longs[0] : 1234) << row.name;
    }
  }
}

TEST_F(Operations, SendNothingWhenAnyOutputHasNowhereToGo) {
  start();
  std::array<std::uint8_t, 512> anywhere{};
  int outputs = 0;
  for (const protocol::MemberRow& row : protocol::sync_methods()) {
    std::vector<commands::Argument> arguments(row.values.size());
    for (std::size_t i = 0; i < row.values.size(); ++i) {
      if (row.values[i].out) arguments[i].out = anywhere.data();
    }
    for (std::size_t i = 0; i < row.values.size(); ++i) {
      if (!row.values[i].out) continue;
      ++outputs;
      arguments[i].out = nullptr;
      EXPECT_EQ(engine().perform(row.dispid, arguments.data()), E_POINTER) << row.name << " " << row.values[i].name;
      arguments[i].out = anywhere.data();
    }
  }
  EXPECT_GT(outputs, 500);
  EXPECT_TRUE(peer.nothing_to_receive());
}

TEST_F(Operations, ReportAFailedSend) {
  start();
  connection->DisconnectEmbeddedSystem();
  connection->put_ExceptionHandlingPolicy(1);  // no send failure of this interface is ever thrown
  for (const SyncOperation& row : chosen(sends)) {
    expect_failure(row, call(row).result, 40002,
                   join({"Invoking command \"", row.text(), "\" [", number(row.code()), "] failed!"}));
    EXPECT_FALSE(engine().is_answer_pending());
  }
}

TEST_F(Operations, AreRefusedWhileAnotherOneWaits) {
  start();
  engine().begin_wait(VL_C_Park);
  for (const bool increased : {false, true}) {
    commands->put_UseIncreasedTimeouts(increased ? VARIANT_TRUE : VARIANT_FALSE);
    for (const bool policy : {false, true}) {
      connection->put_ExceptionHandlingPolicy(policy ? 1 : 0);
      for (const SyncOperation& row : chosen(sends)) {
        bool thrown = false;
        HRESULT result = S_OK;
        try {
          result = call(row).result;
        } catch (const _com_error& error) {
          thrown = true;
          result = error.Error();
        }
        EXPECT_EQ(thrown, policy && row.sends_only) << row.name;
        if (row.code() == VL_C_MoveHV && !increased) {
          EXPECT_EQ(result, S_FALSE) << row.name;
          EXPECT_EQ(exceptions(), Lines{}) << row.name;
        } else {
          expect_failure(row, result, 40001, "Command failed due to pending synchronous answer");
        }
      }
    }
  }
  EXPECT_TRUE(peer.nothing_to_receive());
  EXPECT_TRUE(engine().is_awaiting_answer(VL_C_Park));
}

}  // namespace
}  // namespace kestrine::test
