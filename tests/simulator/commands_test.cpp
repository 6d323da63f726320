// Every command of the catalogue by its row, the settings, the lists, and what is refused.
#include <string>
#include <tuple>

#include "bench.h"
#include "simulator/tracker/settings.h"

namespace kestrine::simulator {
namespace {

// A request with the last of an enumeration, else the number for its place, in every parameter.
template <class Number>
protocol::Request filled_request(const CommandRow& row, const Number& number) {
  protocol::Request request(row.code, row.request_size);
  std::size_t index = 0;
  for (const Value& field : row.parameters) {
    const double value = number(index++);
    if (field.type == ValueType::kDouble) {
      request.put_double(field.offset, value);
    } else if (field.type == ValueType::kFlag) {
      request.put_bool(field.offset, 1);
    } else {
      const auto integer = static_cast<std::int32_t>(std::isnan(value) ? INT32_MIN : value);
      request.put_int32(field.offset, field.named ? field.named->values.back().value : integer);
    }
  }
  return request;
}

class EveryCommand : public ::testing::TestWithParam<bool> {};

TEST_P(EveryCommand, GetsItsOwnWellFormedAnswer) {
  for (const CommandRow& row : protocol::commands()) {
    if (row.request_size == 0) continue;
    SCOPED_TRACE(row.name);
    for (const double number : {0.0, 1.0, -1e9, std::nan("")}) {
      Bench bench({});
      if (GetParam()) bench.set_up({build_Initialize()});
      const auto packets = bench.ask(filled_request(row, [&](std::size_t) { return number; }));
      const auto answers = only(packets, VL_DT_Command);
      ASSERT_FALSE(answers.empty());
      EXPECT_TRUE(only(packets, VL_DT_Error).empty());
      for (const Bytes& answer : answers) {
        const bool is_picture = row.code == VL_C_GetStillImage && status_of(answer) == VL_RS_AllOK;
        EXPECT_EQ(answer.size(), is_picture ? 24 + wire::load_u32(answer.data() + 20) : row.answer->size);
        EXPECT_EQ(wire::load_u32(answer.data()), answer.size());
        EXPECT_EQ(code_of(answer), row.code);
      }
      EXPECT_EQ(answers.size(), row.series ? std::max(1u, wire::load_u32(answers[0].data() + 16)) : 1);
      EXPECT_EQ(bench.client->is_closed, row.code == VL_C_ExitApplication || row.code == VL_C_SystemPowerDown);
      bench.after(20);  // whatever it started runs its course
    }
  }
}

INSTANTIATE_TEST_SUITE_P(BeforeAndAfterInitialize, EveryCommand, ::testing::Bool());

using Settings = BenchTest<>;

TEST_F(Settings, ComeBackToTheLastBitAsTheyWereSet) {
  // Where the row's limits do not allow 4.123, 5.123 and so on.
  const std::map<std::int32_t, std::vector<double>> special{
      {VL_C_SetEnvironmentParams, {71.3, 29.8, 45.5}},
      {VL_C_SetRefractionParams, {1.00025, 1.00026}},
      {VL_C_SetAdmParams, {0.0001, 300, 2}},
      {VL_C_SetStationaryModeParams, {700, 1}},
      {VL_C_SetReflector, {7}},
      {VL_C_SetCompensation, {2}},
      {VL_C_SetVizetToTrackerCompensation, {2}},
      {VL_C_SetProbeCompensation, {4}},
  };
  for (const SettingRow& setting : all_settings()) {
    const CommandRow& row = *find_command(setting.set);
    SCOPED_TRACE(row.name);
    // Units in which nothing comes back unharmed from a conversion.
    Bench bench({build_SetUnits(VL_LU_Inch, VL_AU_Gon, VL_TU_Fahrenheit, VL_PU_InHg, VL_HU_RH)});
    const auto found = special.find(row.code);
    const protocol::Request request = filled_request(row, [&](std::size_t index) {
      return found == special.end() ? 4.123 + static_cast<double>(index) : found->second[index];
    });
    bench.set_up({request});
    const Bytes answer = bench.ask(protocol::Request(setting.get, 12)).at(0);
    EXPECT_TRUE(std::equal(answer.begin() + 16, answer.end(), request.bytes.begin() + 12));
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

TEST_F(Settings, OfTheWeatherMoveTheRefractionWhenTheMonitorCalculates) {
  SystemSettingsDataT settings = told(true);
  settings.weatherMonitorStatus = VL_WMS_ReadAndCalculateRefractions;
  set_up({set_system_settings(settings), build_SetEnvironmentParams(35, 1013.25, 50)});
  const auto index = [&] {
    return answer<GetRefractionParamsRT>(build_GetRefractionParams()).refractionData.dIfmRefractionIndex;
  };
  const double warm = index();
  EXPECT_EQ(announced(build_SetEnvironmentParams(5, 1013.25, 50)),
            (Codes{VL_SSC_EnvironmentParamsChanged, VL_SSC_ObjectTemperatureChanged, VL_SSC_RefractionParamsChanged}));
  EXPECT_NEAR(index() - warm, 27e-6, 2e-6);  // about 1 ppm a degree
}

using Refusals = BenchTest<>;

TEST_F(Refusals, NameTheParameterAndWhetherItWasTakenAllTheSame) {
  const std::tuple<const char*, protocol::Request, VL_ResultStatus> refusals[]{
      {"unknown reflector", build_SetReflector(5), VL_RS_WrongParameter1},
      {"unknown compensation", build_SetCompensation(9), VL_RS_NoSuchCompensation},
      {"unknown unit", build_SetUnits(VL_LU_Meter, static_cast<VL_AngleUnit>(3), VL_TU_Celsius, VL_PU_Mbar, VL_HU_RH),
       VL_RS_WrongParameter2},
      {"hot", build_SetEnvironmentParams(61, 1000, 50), VL_RS_Parameter1OutOfRangeNOK},
      {"thin air", build_SetEnvironmentParams(20, 550, 50), VL_RS_Parameter2OutOfRangeOK},
      {"negative count", build_SetContinuousTimeModeParams(10, -1, 0, VL_RT_Box), VL_RS_Parameter2OutOfRangeNOK},
      {"grid without a step", build_SetGridModeParams(0, 0, 0, 5, 0, VL_RT_Box), VL_RS_Parameter1OutOfRangeNOK},
      {"not a number", build_SetSearchParams(std::nan(""), 5), VL_RS_WrongParameter1},
      {"a fact", build_SetLongSystemParameter(VL_SP_TcpCommandQueueSize, 5), VL_RS_UsageConflict},
      {"no source", build_SetTriggerSource(VL_TS_Undefined), VL_RS_ProblemSettingTriggerSource},
      {"too high", build_PositionRelativeHV(0, -2), kVerticalRangeEnds},
      {"too near", build_GoPositionHVD(0, 1.5, 0.05, 1), VL_RS_Parameter3OutOfRangeNOK},
      {"too far", build_GoAndMeasure(500, 0, 0), VL_RS_Parameter3OutOfRangeNOK},
      {"impossible", build_GetErrorEllipsoid(0, 0, 0, 1, 1, 1, 5, 0, 0), VL_RS_InvalidInputData},
  };
  for (const auto& [what, request, expected] : refusals) EXPECT_EQ(status(request), expected) << what;
  // Accepted with a warning means stored, refused means that nothing has changed.
  EXPECT_EQ(double{answer<GetEnvironmentParamsRT>(build_GetEnvironmentParams()).environmentData.dPressure}, 550);
  EXPECT_EQ(Bench({}).statuses({build_StartMeasurement(), build_GoPosition(2, 0, 0, 1)}),
            Codes(2, VL_RS_TrackerNotInitialized));
}

TEST_F(Refusals, OfWhatIsNoCommandAreErrorPackets) {
  protocol::Request not_a_command = build_GetUnits();
  not_a_command.put_int32(4, VL_DT_SingleMeasResult);
  const auto expect_error = [&](const protocol::Request& request, std::int32_t about, std::int32_t status) {
    const auto packets = ask(request);
    EXPECT_EQ((Codes{int(packets.size()), int(packets[0].size()), type_of(packets[0]), code_of(packets[0])}),
              (Codes{1, 16, VL_DT_Error, about}));
    EXPECT_EQ(status_of(packets[0]), status);
  };
  for (const std::int32_t code : {50, 64, 145, -1}) expect_error({code, 12}, VL_C_Unknown, VL_RS_NotImplemented);
  expect_error({VL_C_SetUnits, 28}, VL_C_SetUnits, VL_RS_WrongParameter);
  expect_error(not_a_command, VL_C_Unknown, VL_RS_NotImplemented);
}

using Lists = BenchTest<>;

TEST_F(Lists, AreSeriesOfItemsWithTheirTotal) {
  const std::pair<protocol::Request, Codes> lists[]{
      {build_GetReflectors(), {1, 2, 3, 7}}, {build_GetCompensations2(), {1, 2}},
      {build_GetCameras(), {1, 2}},          {build_GetVizetToTrackerCompensations(), {1, 2}},
      {build_GetProbes(), {1, 2}},           {build_GetProbeCompensations(), {1, 4}},
      {build_GetTipAdapters(), {1, 2}},      {build_GetTipToProbeCompensations2(), {1, 2, 6}},
  };
  for (const auto& [request, expected] : lists) {
    Codes ids;
    for (const Bytes& packet : ask(request)) {
      EXPECT_EQ(wire::load_u32(packet.data() + 16), expected.size());
      ids.push_back(wire::load_i32(packet.data() + 20));
    }
    EXPECT_EQ(ids, expected);
  }
  set_units(VL_LU_Millimeter);
  EXPECT_NEAR(answer<GetReflectorsRT>(build_GetReflectors()).dSurfaceOffset, 19.05, 1e-9);
  const auto tip = answer<GetTipAdaptersRT>(build_GetTipAdapters());
  EXPECT_EQ(std::u16string(tip.cName), u"Ruby 6 mm");
  expect_near(vector(tip.dRadius, tip.dLength, 0), {3, 50, 0}, 1e-12);
}

TEST_F(Lists, DecideWhatIsInUseAndAnnounceIt) {
  listen();
  const auto tip = [&] { return answer<GetTipToProbeCompensationRT>(build_GetTipToProbeCompensation()); };
  EXPECT_EQ(tip().iInternalTipToProbeCompensationId, 1);
  EXPECT_EQ(announced(build_SetTipAdapter(2)), (Codes{VL_SSC_TipChanged, VL_SSC_TipToProbeCompensationChanged}));
  EXPECT_EQ(tip().iInternalTipToProbeCompensationId, 2);
  EXPECT_EQ(announced(build_SetProbeCompensation(4)),
            (Codes{VL_SSC_ProbeCompensationChanged, VL_SSC_ProbeChanged, VL_SSC_TipToProbeCompensationChanged}));
  EXPECT_EQ(tip().packetInfo.status, VL_RS_NoMeasurementTipCompSet);
  EXPECT_EQ(announced(build_SetVizetToTrackerCompensation(2)), Codes{VL_SSC_VizetToTrackerCompensationChanged});
  ask(build_SetTipAdapter(3)), ask(build_SetProbeCompensation(2));  // refusals change nothing
  EXPECT_EQ(answer<GetTipAdapterRT>(build_GetTipAdapter()).iInternalTipAdapterId, 2);
  EXPECT_EQ(answer<GetProbeRT>(build_GetProbe()).iInternalProbeId, 2);
}

}  // namespace
}  // namespace kestrine::simulator
