// Every command of the catalogue, by its row.
#include <string>

#include "bench.h"
#include "simulator/limits.h"
#include "simulator/settings.h"

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

void expect_well_formed(const CommandRow& row, const std::vector<Bytes>& packets) {
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
      {VL_C_SetEnvironmentParams, {23.4, 987.6, 45.5}},
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
  std::size_t index = 0;
  for (const Value& field : row.parameters) {
    const auto found = special.find(row.code);
    const double value = found == special.end() ? 0.123 + static_cast<double>(index) : found->second[index];
    ++index;
    if (field.type == ValueType::kDouble) request.put_double(field.offset, value);
    if (field.type == ValueType::kInt32 && !field.named)
      request.put_int32(field.offset, static_cast<std::int32_t>(found == special.end() ? value + 4 : value));
  }
  return request;
}

TEST(Settings, ComeBackToTheLastBitAsTheyWereSet) {
  int settings = 0;
  for (const CommandRow& row : protocol::commands()) {
    const SettingRow* setting = find_setting(row.code);
    if (!setting || setting->set != row.code) continue;
    ++settings;
    Bench bench;
    // Units in which nothing comes back unharmed from a conversion.
    ASSERT_EQ(bench.status(protocol::build_SetUnits(VL_LU_Inch, VL_AU_Gon, VL_TU_Fahrenheit, VL_PU_InHg, VL_HU_RH)), 0);
    protocol::Request request = setting_request(row);
    if (row.code == VL_C_SetEnvironmentParams) {
      request.put_double(12, 71.3);
      request.put_double(20, 29.8);
    }
    EXPECT_EQ(bench.status(request), VL_RS_AllOK) << row.name;
    const auto answers = only(bench.ask(protocol::Request(setting->get, 12)), VL_DT_Command);
    ASSERT_EQ(answers.size(), 1u) << row.name;
    EXPECT_TRUE(std::equal(answers[0].begin() + 16, answers[0].end(), request.bytes.begin() + 12)) << row.name;
  }
  EXPECT_EQ(settings, 30);
}

TEST(Settings, AreToldInTheUnitsOfTheAsking) {
  Bench bench;
  bench.ask(protocol::build_SetUnits(VL_LU_Millimeter, VL_AU_Degree, VL_TU_Celsius, VL_PU_Mbar, VL_HU_RH));
  bench.ask(protocol::build_SetSearchParams(25.4, 1000));
  bench.ask(protocol::build_SetEnvironmentParams(25, 1000, 40));
  bench.ask(protocol::build_SetStationOrientationParams(25.4, 0, 0, 90, 0, 0));
  bench.ask(protocol::build_SetUnits(VL_LU_Inch, VL_AU_Gon, VL_TU_Fahrenheit, VL_PU_KPascal, VL_HU_RH));
  EXPECT_NEAR(bench.answer<GetSearchParamsRT>(protocol::build_GetSearchParams()).searchParams.dSearchRadius, 1, 1e-12);
  const auto weather = bench.answer<GetEnvironmentParamsRT>(protocol::build_GetEnvironmentParams()).environmentData;
  EXPECT_NEAR(weather.dTemperature, 77, 1e-9);
  EXPECT_NEAR(weather.dPressure, 100, 1e-9);
  EXPECT_NEAR(weather.dHumidity, 40, 0);
  const auto station = bench.answer<GetStationOrientationParamsRT>(protocol::build_GetStationOrientationParams());
  EXPECT_NEAR(station.stationOrientation.dVal1, 1, 1e-12);
  EXPECT_NEAR(station.stationOrientation.dRot1, 100, 1e-9);
}

TEST(Settings, StayWithEachClientWhereTheyAreItsOwnWish) {
  Bench bench;
  const auto other = bench.add_client();
  bench.ask(request_of(VL_C_SetSystemSettings, wishes(true, true)));
  const auto asked = [&](const auto& packets) {
    return read_as<GetSystemSettingsRT>(only(packets, VL_DT_Command).at(0).data())
        .systemSettings.bSendUnsolicitedMessages;
  };
  EXPECT_EQ(asked(bench.ask(protocol::build_GetSystemSettings())), 1);
  EXPECT_EQ(asked(bench.ask(*other, other, protocol::build_GetSystemSettings())), 0);
}

TEST(Settings, OfTheWeatherMoveTheRefractionWhenTheMonitorCalculates) {
  Bench bench;
  SystemSettingsDataT settings = wishes(true);
  settings.weatherMonitorStatus = VL_WMS_ReadAndCalculateRefractions;
  bench.ask(request_of(VL_C_SetSystemSettings, settings));
  bench.ask(protocol::build_SetEnvironmentParams(35, 1013.25, 50));
  const auto warm = bench.answer<GetRefractionParamsRT>(protocol::build_GetRefractionParams()).refractionData;
  const auto packets = bench.ask(protocol::build_SetEnvironmentParams(5, 1013.25, 50));
  EXPECT_EQ(changes(packets),
            (std::vector<std::int32_t>{VL_SSC_EnvironmentParamsChanged, VL_SSC_ObjectTemperatureChanged,
                                       VL_SSC_RefractionParamsChanged}));
  const auto cold = bench.answer<GetRefractionParamsRT>(protocol::build_GetRefractionParams()).refractionData;
  EXPECT_NEAR(cold.dIfmRefractionIndex - warm.dIfmRefractionIndex, 27e-6, 2e-6);  // about 1 ppm a degree
}

TEST(Lists, CarryTheTotalInEveryPacket) {
  Bench bench;
  const auto packets = only(bench.ask(protocol::build_GetReflectors()), VL_DT_Command);
  ASSERT_GE(packets.size(), 3u);
  std::vector<std::u16string> names;
  for (const Bytes& packet : packets) {
    const auto item = read_as<GetReflectorsRT>(packet.data());
    EXPECT_EQ(item.iTotalReflectors, static_cast<std::int32_t>(packets.size()));
    EXPECT_GT(double{item.dSurfaceOffset}, 0);
    names.emplace_back(item.cReflectorName);
    EXPECT_EQ(bench.status(protocol::build_SetReflector(item.iInternalReflectorId)), VL_RS_AllOK);
  }
  EXPECT_EQ(names[0], u"Corner cube 1.5 in");
  bench.ask(protocol::build_SetCompensation(2));
  const auto compensations = only(bench.ask(protocol::build_GetCompensations2()), VL_DT_Command);
  ASSERT_EQ(compensations.size(), 2u);
  EXPECT_EQ(read_as<GetCompensations2RT>(compensations[0].data()).bIsActive, 0);
  EXPECT_EQ(read_as<GetCompensations2RT>(compensations[1].data()).bIsActive, 1);
}

struct Refusal {
  const char* what;
  protocol::Request request;
  std::int32_t status;
};

TEST(Refusals, NameTheParameterAndWhetherItWasTakenAllTheSame) {
  const std::vector<Refusal> refusals{
      {"unknown reflector", protocol::build_SetReflector(5), VL_RS_WrongParameter1},
      {"unknown compensation", protocol::build_SetCompensation(9), VL_RS_NoSuchCompensation},
      {"unknown unit",
       protocol::build_SetUnits(VL_LU_Meter, static_cast<VL_AngleUnit>(3), VL_TU_Celsius, VL_PU_Mbar, VL_HU_RH),
       VL_RS_WrongParameter2},
      {"hot", protocol::build_SetEnvironmentParams(61, 1000, 50), VL_RS_Parameter1OutOfRangeNOK},
      {"warm", protocol::build_SetEnvironmentParams(45, 1000, 50), VL_RS_Parameter1OutOfRangeOK},
      {"thin air", protocol::build_SetEnvironmentParams(20, 550, 50), VL_RS_Parameter2OutOfRangeOK},
      {"drier than dry", protocol::build_SetEnvironmentParams(20, 1000, -1), VL_RS_Parameter3OutOfRangeNOK},
      {"short measure time", protocol::build_SetStationaryModeParams(99, 1), VL_RS_Parameter1OutOfRangeNOK},
      {"negative count", protocol::build_SetContinuousTimeModeParams(10, -1, 0, VL_RT_Box),
       VL_RS_Parameter2OutOfRangeNOK},
      {"grid without a step", protocol::build_SetGridModeParams(0, 0, 0, 5, 0, VL_RT_Box),
       VL_RS_Parameter1OutOfRangeNOK},
      {"not a number", protocol::build_SetSearchParams(std::nan(""), 5), VL_RS_WrongParameter1},
      {"infinite", protocol::build_SetBoxRegionParams(0, 0, 0, 0, 0, INFINITY), VL_RS_WrongParameter6},
      {"integer asked as double", protocol::build_GetDoubleSystemParameter(VL_SP_TcpDataPacketRate),
       VL_RS_WrongParameter1},
      {"a fact", protocol::build_SetLongSystemParameter(VL_SP_TcpCommandQueueSize, 5), VL_RS_UsageConflict},
      {"measuring cold", protocol::build_StartMeasurement(), VL_RS_TrackerNotInitialized},
      {"moving cold", protocol::build_GoPosition(2, 0, 0, 1), VL_RS_TrackerNotInitialized},
  };
  Bench bench;
  for (const Refusal& each : refusals) EXPECT_EQ(bench.status(each.request), each.status) << each.what;
  // Accepted with a warning means stored, refused means that nothing has changed.
  const auto weather = bench.answer<GetEnvironmentParamsRT>(protocol::build_GetEnvironmentParams()).environmentData;
  EXPECT_NEAR(weather.dPressure, 550, 0);
}

TEST(Refusals, OfWhatIsNoCommandAreErrorPackets) {
  Bench bench;
  const auto expect_error = [&](const protocol::Request& request, std::int32_t about, std::int32_t status) {
    const auto packets = bench.ask(request);
    ASSERT_EQ(packets.size(), 1u);
    EXPECT_EQ(type_of(packets[0]), VL_DT_Error);
    EXPECT_EQ(packets[0].size(), 16u);
    EXPECT_EQ(code_of(packets[0]), about);
    EXPECT_EQ(status_of(packets[0]), status);
  };
  for (const std::int32_t code : {50, 64, 145, -1}) expect_error({code, 12}, VL_C_Unknown, VL_RS_NotImplemented);
  expect_error({VL_C_SetUnits, 28}, VL_C_SetUnits, VL_RS_WrongParameter);
  protocol::Request not_a_command = protocol::build_GetUnits();
  not_a_command.put_int32(4, VL_DT_SingleMeasResult);
  expect_error(not_a_command, VL_C_Unknown, VL_RS_NotImplemented);
}

TEST(Parameters, BeyondTheSixthHaveNoRangeOfTheirOwn) {
  EXPECT_EQ(wrong_parameter(1), VL_RS_WrongParameter1);
  EXPECT_EQ(wrong_parameter(7), VL_RS_WrongParameter7);
  EXPECT_EQ(wrong_parameter(8), VL_RS_WrongParameter8);
  EXPECT_EQ(wrong_parameter(16), VL_RS_WrongParameter16);
  EXPECT_EQ(out_of_range(6), VL_RS_Parameter6OutOfRangeNOK);
  EXPECT_EQ(out_of_range(9), VL_RS_WrongParameter9);
}

}  // namespace
}  // namespace kestrine::simulator
