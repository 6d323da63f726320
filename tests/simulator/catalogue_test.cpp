// Every command of the catalogue, by its row.
#include <string>

#include "bench.h"
#include "simulator/tracker/settings.h"

namespace kestrine::simulator {
namespace {

using protocol::CommandRow;
using protocol::Value;
using protocol::ValueType;
// A request with a value in every parameter that is probably fine: the last of an enumeration, else the number.
protocol::Request filled_request(const CommandRow& row, double number) {
  protocol::Request request(row.code, row.request_size);
  for (const Value& field : row.parameters) {
    if (field.type == ValueType::kDouble) {
      request.put_double(field.offset, number);
    } else if (field.type == ValueType::kFlag) {
      request.put_bool(field.offset, 1);
    } else {
      const auto integer = static_cast<std::int32_t>(std::isnan(number) ? INT32_MIN : number);
      request.put_int32(field.offset, field.named ? field.named->values.back().value : integer);
    }
  }
  return request;
}

void expect_well_formed(const CommandRow& row, const Packets& packets) {
  const auto answers = only(packets, VL_DT_Command);
  ASSERT_FALSE(answers.empty()) << row.name;
  EXPECT_TRUE(only(packets, VL_DT_Error).empty()) << row.name;
  for (const Bytes& answer : answers) {
    if (row.code == VL_C_GetStillImage && status_of(answer) == VL_RS_AllOK) {
      EXPECT_EQ(static_cast<std::int32_t>(answer.size()), 24 + wire::load_i32(answer.data() + 20));
    } else {
      EXPECT_EQ(answer.size(), row.answer->size) << row.name;
    }
    EXPECT_EQ(wire::load_i32(answer.data()), static_cast<std::int32_t>(answer.size())) << row.name;
    EXPECT_EQ(code_of(answer), row.code) << row.name;
  }
  const auto total = static_cast<std::size_t>(row.series ? wire::load_i32(answers[0].data() + 16) : 1);
  EXPECT_EQ(answers.size(), std::max<std::size_t>(total, 1)) << row.name;
}

class Catalogue : public ::testing::TestWithParam<bool> {};

TEST_P(Catalogue, EveryCommandGetsItsOwnWellFormedAnswer) {
  for (const CommandRow& row : protocol::commands()) {
    if (row.request_size == 0) continue;
    for (const double number : {0.0, 1.0, -1e9, std::nan("")}) {
      Bench bench;
      if (GetParam()) bench.initialise();
      expect_well_formed(row, bench.ask(filled_request(row, number)));
      EXPECT_EQ(bench.client->is_closed, row.code == VL_C_ExitApplication || row.code == VL_C_SystemPowerDown);
      bench.after(20);  // whatever it started runs its course
    }
  }
}

INSTANTIATE_TEST_SUITE_P(BeforeAndAfterInitialize, Catalogue, ::testing::Bool(),
                         [](const auto& each) { return each.param ? "Initialised" : "Cold"; });
// Numbers that the row's limits allow, all different.
protocol::Request setting_request(const CommandRow& row) {
  static const std::map<std::int32_t, std::vector<double>> special{
      {VL_C_SetEnvironmentParams, {71.3, 29.8, 45.5}},
      {VL_C_SetRefractionParams, {1.00025, 1.00026}},
      {VL_C_SetAdmParams, {0.0001, 300, 2}},
      {VL_C_SetStationaryModeParams, {700, 1}},
      {VL_C_SetReflector, {7}},
      {VL_C_SetCompensation, {2}},
      {VL_C_SetVizetToTrackerCompensation, {2}},
      {VL_C_SetProbeCompensation, {4}},
      {VL_C_SetSearchParams, {0.1, 2000}},
  };
  protocol::Request request = filled_request(row, 0);
  const auto found = special.find(row.code);
  std::size_t index = 0;
  for (const Value& field : row.parameters) {
    const double value = found == special.end() ? 4.123 + static_cast<double>(index) : found->second[index];
    ++index;
    if (field.type == ValueType::kDouble) request.put_double(field.offset, found == special.end() ? value - 4 : value);
    if (field.type == ValueType::kInt32 && !field.named)
      request.put_int32(field.offset, static_cast<std::int32_t>(value));
  }
  return request;
}

using Settings = BenchTest<>;

TEST_F(Settings, ComeBackToTheLastBitAsTheyWereSet) {
  for (const SettingRow& setting : all_settings()) {
    const CommandRow& row = *find_command(setting.set);
    Bench bench;
    // Units in which nothing comes back unharmed from a conversion.
    ASSERT_EQ(bench.status(build_SetUnits(VL_LU_Inch, VL_AU_Gon, VL_TU_Fahrenheit, VL_PU_InHg, VL_HU_RH)), 0);
    protocol::Request request = setting_request(row);
    EXPECT_EQ(bench.status(request), VL_RS_AllOK) << row.name;
    const auto answers = only(bench.ask(protocol::Request(setting.get, 12)), VL_DT_Command);
    ASSERT_EQ(answers.size(), 1u) << row.name;
    EXPECT_TRUE(std::equal(answers[0].begin() + 16, answers[0].end(), request.bytes.begin() + 12)) << row.name;
  }
}

TEST_F(Settings, ComeInTheUnitsOfTheAsking) {
  set_units(VL_LU_Millimeter);
  set_up({build_SetSearchParams(25.4, 1000), build_SetEnvironmentParams(25, 1000, 40),
          build_SetStationOrientationParams(25.4, 0, 0, 90, 0, 0),
          build_SetUnits(VL_LU_Inch, VL_AU_Gon, VL_TU_Fahrenheit, VL_PU_KPascal, VL_HU_RH)});
  const auto radius = answer<GetSearchParamsRT>(build_GetSearchParams()).searchParams.dSearchRadius;
  const auto weather = answer<GetEnvironmentParamsRT>(build_GetEnvironmentParams()).environmentData;
  const auto station = answer<GetStationOrientationParamsRT>(build_GetStationOrientationParams()).stationOrientation;
  expect_near(vector(weather.dTemperature, weather.dPressure, weather.dHumidity), {77, 100, 40});
  expect_near(vector(radius, station.dVal1, station.dRot1), {1, 1, 100});
}

TEST_F(Settings, StayWithEachClientWhereTheyAreItsOwn) {
  const auto other = add_client();
  ask(request_of(VL_C_SetSystemSettings, client_settings(true, true)));
  const auto wishes = [&](const auto& asker) {
    const auto answer = first<GetSystemSettingsRT>(ask(*asker, asker, build_GetSystemSettings()));
    return int{answer.systemSettings.bSendUnsolicitedMessages};
  };
  EXPECT_EQ((Codes{wishes(client), wishes(other)}), (Codes{1, 0}));
}

TEST_F(Settings, OfTheWeatherMoveTheRefractionWhenTheMonitorCalculates) {
  SystemSettingsDataT settings = client_settings(true);
  settings.weatherMonitorStatus = VL_WMS_ReadAndCalculateRefractions;
  set_up({request_of(VL_C_SetSystemSettings, settings), build_SetEnvironmentParams(35, 1013.25, 50)});
  const auto warm = answer<GetRefractionParamsRT>(build_GetRefractionParams()).refractionData;
  EXPECT_EQ(announced(build_SetEnvironmentParams(5, 1013.25, 50)),
            (Codes{VL_SSC_EnvironmentParamsChanged, VL_SSC_ObjectTemperatureChanged, VL_SSC_RefractionParamsChanged}));
  const auto cold = answer<GetRefractionParamsRT>(build_GetRefractionParams()).refractionData;
  EXPECT_NEAR(cold.dIfmRefractionIndex - warm.dIfmRefractionIndex, 27e-6, 2e-6);  // about 1 ppm a degree
}

struct Refusal {
  const char* what;
  protocol::Request request;
  std::int32_t status;
};

using Refusals = BenchTest<>;

TEST_F(Refusals, NameTheParameterAndWhetherItWasTakenAllTheSame) {
  const std::vector<Refusal> refusals{
      {"unknown reflector", build_SetReflector(5), VL_RS_WrongParameter1},
      {"unknown compensation", build_SetCompensation(9), VL_RS_NoSuchCompensation},
      {"unknown unit", build_SetUnits(VL_LU_Meter, static_cast<VL_AngleUnit>(3), VL_TU_Celsius, VL_PU_Mbar, VL_HU_RH),
       VL_RS_WrongParameter2},
      {"hot", build_SetEnvironmentParams(61, 1000, 50), VL_RS_Parameter1OutOfRangeNOK},
      {"warm", build_SetEnvironmentParams(45, 1000, 50), VL_RS_Parameter1OutOfRangeOK},
      {"thin air", build_SetEnvironmentParams(20, 550, 50), VL_RS_Parameter2OutOfRangeOK},
      {"drier than dry", build_SetEnvironmentParams(20, 1000, -1), VL_RS_Parameter3OutOfRangeNOK},
      {"short measure time", build_SetStationaryModeParams(99, 1), VL_RS_Parameter1OutOfRangeNOK},
      {"negative count", build_SetContinuousTimeModeParams(10, -1, 0, VL_RT_Box), VL_RS_Parameter2OutOfRangeNOK},
      {"grid without a step", build_SetGridModeParams(0, 0, 0, 5, 0, VL_RT_Box), VL_RS_Parameter1OutOfRangeNOK},
      {"not a number", build_SetSearchParams(std::nan(""), 5), VL_RS_WrongParameter1},
      {"infinite", build_SetBoxRegionParams(0, 0, 0, 0, 0, INFINITY), VL_RS_WrongParameter6},
      {"integer asked as double", build_GetDoubleSystemParameter(VL_SP_TcpDataPacketRate), VL_RS_WrongParameter1},
      {"a fact", build_SetLongSystemParameter(VL_SP_TcpCommandQueueSize, 5), VL_RS_UsageConflict},
      {"measuring cold", build_StartMeasurement(), VL_RS_TrackerNotInitialized},
      {"moving cold", build_GoPosition(2, 0, 0, 1), VL_RS_TrackerNotInitialized},
  };
  for (const Refusal& each : refusals) EXPECT_EQ(status(each.request), each.status) << each.what;
  // Accepted with a warning means stored, refused means that nothing has changed.
  EXPECT_EQ(double{answer<GetEnvironmentParamsRT>(build_GetEnvironmentParams()).environmentData.dPressure}, 550);
}

TEST_F(Refusals, OfWhatIsNoCommandAreErrorPackets) {
  const auto expect_error = [&](const protocol::Request& request, std::int32_t about, std::int32_t status) {
    const auto packets = ask(request);
    ASSERT_EQ(packets.size(), 1u);
    EXPECT_EQ(packets[0].size(), 16u);
    EXPECT_EQ((Codes{type_of(packets[0]), code_of(packets[0]), status_of(packets[0])}),
              (Codes{VL_DT_Error, about, status}));
  };
  for (const std::int32_t code : {50, 64, 145, -1}) expect_error({code, 12}, VL_C_Unknown, VL_RS_NotImplemented);
  expect_error({VL_C_SetUnits, 28}, VL_C_SetUnits, VL_RS_WrongParameter);
  protocol::Request not_a_command = build_GetUnits();
  not_a_command.put_int32(4, VL_DT_SingleMeasResult);
  expect_error(not_a_command, VL_C_Unknown, VL_RS_NotImplemented);
}

}  // namespace
}  // namespace kestrine::simulator
