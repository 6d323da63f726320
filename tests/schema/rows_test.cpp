#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <set>
#include <stdexcept>
#include <string>
#include <tuple>

#include "commands/method_rows.h"
#include "events/event_rows.h"
#include "kestrine/records.h"
#include "protocol/tables.h"

namespace kestrine {
namespace {

const commands::MethodRow& method(const std::string& name) {
  for (const commands::MethodRow& row : commands::sync_methods()) {
    if (row.name == name) return row;
  }
  throw std::out_of_range(name);
}

std::string outline(const commands::MethodRow& row) {
  std::string text;
  for (const commands::Param& param : row.params) {
    text += std::string(param.out ? "out " : "in ") + param.type_name + " " + param.name + "@" +
            std::to_string(param.offset) + "/" + std::to_string(param.size) + "; ";
  }
  return text;
}

TEST(MethodRows, AreNumberedFromOneWithoutAGap) {
  ASSERT_EQ(commands::sync_methods().size(), 201u);
  for (std::size_t i = 0; i < 201; ++i) EXPECT_EQ(commands::sync_methods()[i].dispid, static_cast<int>(i) + 1);
  EXPECT_EQ(method("SetUnits").dispid, 49);
  EXPECT_EQ(method("UseIncreasedTimeouts").dispid, 199);
}

TEST(MethodRows, PlaceInputsInTheRequestAndOutputsInTheAnswer) {
  const std::pair<const char*, const char*> cases[] = {
      {"GoPosition", "in double val1@12/0; in double val2@20/0; in double val3@28/0; in bool useADM@36/0; "},
      {"GetStationaryModeParams", "out long time@16/0; out bool useADM@20/0; "},
      {"GetSearchParamsEx", "out SearchParamsDataT data@16/12; "},
      {"SetExternTriggerParamsEx", "in ExternTriggerParamsT extTriggerPrams@12/16; "},
      {"MeasureStationaryPoint2Ex", "out SingleMeasResult2T result@0/204; "},
      {"StartTiltraMeasurementEx", "out TiltraResultT result@0/40; "},
      {"GetLongSystemParameter", "in VL_SystemParameter systemParam@12/0; out long parameter@20/0; "},
      {"GetMeasurementStatusInfo", "out long measurementStatusInfo@20/0; "},
      {"GetStillImage",
       "in VL_StillImageFileType imageFileType@12/0; out long fileSize@20/0; out variant fileData@24/0; "},
      {"GetSystemSoftwareVersion", "out text cSoftwareVersion@16/32; "},
      {"GetCamera", "out long cameraID@16/0; out bool isMeasCameraMounted@20/0; "},
      {"MoveHV", "in long horizontalSpeed@12/0; in long verticalSpeed@16/0; "},
      {"MoveLeft", ""},
      {"ClearCommandQueue", "in VL_ClearCommandQueueType clearType@12/0; "},
      {"UseIncreasedTimeouts", "in bool increased@0/0; "},
  };
  for (const auto& [name, params] : cases) EXPECT_EQ(outline(method(name)), params) << name;
}

TEST(MethodRows, HandOutAResultFromItsFirstValueToTheFlagThatStandsBeforeIt) {
  for (const auto& [name, count, first, flag] :
       {std::tuple{"MeasureStationaryPoint", 18u, 20, 16}, std::tuple{"GoAndMeasureStationaryPoint2", 24u, 20, 16},
        std::tuple{"MeasureStationaryProbeData", 49u, 20, 16}}) {
    const auto params = method(name).params.last(count);
    EXPECT_EQ(params.front().offset, first) << name;
    EXPECT_EQ(params.back().offset, flag) << name;
    EXPECT_STREQ(params.back().name, "isTryMode") << name;
    EXPECT_TRUE(params.front().out) << name;
  }
}

TEST(MethodRows, StayInsideTheirPackets) {
  const std::uint16_t result_sizes[] = {0, 0, 156, 0, 376, 0, 40, 0, 0, 204};
  for (const commands::MethodRow& row : commands::sync_methods()) {
    const protocol::CommandRow* command = protocol::find_command(row.command);
    ASSERT_EQ(command == nullptr, row.family == commands::Family::kProperty) << row.name;
    if (command == nullptr) continue;
    for (const commands::Param& param : row.params) {
      const int bytes = param.type == commands::ParamType::kText     ? 2 * param.size
                        : param.type == commands::ParamType::kRecord ? param.size
                        : param.type == commands::ParamType::kDouble ? 8
                                                                     : 4;
      const int limit = !param.out                                ? command->request_size
                        : row.source == commands::Source::kAnswer ? command->answer->size
                        : row.source == commands::Source::kTiltra ? result_sizes[VL_DT_TiltraResult]
                        : row.result_type != -1                   ? result_sizes[row.result_type]
                                                                  : result_sizes[VL_DT_StationaryProbeMeasResult];
      EXPECT_LE(param.offset + bytes, limit) << row.name << "." << param.name;
    }
  }
}

TEST(MethodRows, KnowTheirFamilyWaitAndResultType) {
  using commands::Family, commands::WaitClass, commands::Source;
  struct Case {
    const char* name;
    Family family;
    WaitClass wait;
    bool adds;
    Source source;
    std::int32_t type;
  };
  const Case cases[] = {
      {"Initialize", Family::kPlain, WaitClass::kTrackerInit, false, Source::kNone, -1},
      {"GetReflectors", Family::kSendOnly, WaitClass::kNone, false, Source::kNone, -1},
      {"MeasureStationaryPoint", Family::kStationaryPoint, WaitClass::kMeasurementAdditional, true,
       Source::kMeasurement, 2},
      {"MeasureStationaryPoint2Ex", Family::kStationaryPoint, WaitClass::kMeasurementAdditional, true,
       Source::kMeasurement, 9},
      {"MeasureStationaryProbeData", Family::kStationaryProbe, WaitClass::kStandard, true, Source::kMeasurement, -1},
      {"GoAndMeasureStationaryPoint2", Family::kGoAndMeasure, WaitClass::kFind, true, Source::kMeasurement, 9},
      {"CheckBirdBath", Family::kPlain, WaitClass::kStandard, true, Source::kAnswer, -1},
      {"StartTiltraMeasurement", Family::kTiltra, WaitClass::kStandard, false, Source::kTiltra, -1},
      {"GetStillImage", Family::kStillImage, WaitClass::kExtended, false, Source::kAnswer, -1},
      {"CallATRCompensation", Family::kPlain, WaitClass::kAtrCompensation, false, Source::kAnswer, -1},
  };
  for (const Case& c : cases) {
    const commands::MethodRow& row = method(c.name);
    EXPECT_EQ(row.family, c.family) << c.name;
    EXPECT_EQ(row.wait, c.wait) << c.name;
    EXPECT_EQ(row.adds_measure_time, c.adds) << c.name;
    EXPECT_EQ(row.source, c.source) << c.name;
    EXPECT_EQ(row.result_type, c.type) << c.name;
  }
}

TEST(EventRows, AreNumberedFromOneWithoutAGap) {
  ASSERT_EQ(events::async_events().size(), 96u);
  ASSERT_EQ(events::sync_events().size(), 24u);
  for (const auto rows : {events::async_events(), events::sync_events()}) {
    for (std::size_t i = 0; i < rows.size(); ++i) EXPECT_EQ(rows[i].dispid, static_cast<int>(i) + 1);
  }
  EXPECT_EQ(events::async_event::ExceptionEvent, 90);
  EXPECT_EQ(events::sync_event::ExceptionEvent, 21);
}

TEST(EventRows, OfOneNameAreTheSameOnBothSidesButForOneParameter) {
  std::set<std::string> different;
  for (const events::EventRow& here : events::sync_events()) {
    const auto there = std::ranges::find_if(events::async_events(),
                                            [&](const auto& row) { return std::strcmp(row.name, here.name) == 0; });
    ASSERT_EQ(here.arguments.size(), there->arguments.size()) << here.name;
    for (std::size_t i = 0; i < here.arguments.size(); ++i) {
      EXPECT_EQ(here.arguments[i].offset, there->arguments[i].offset) << here.name;
      EXPECT_EQ(here.arguments[i].type, there->arguments[i].type) << here.name;
      if (std::strcmp(here.arguments[i].name, there->arguments[i].name) != 0) different.insert(here.arguments[i].name);
    }
  }
  EXPECT_EQ(different, std::set<std::string>{"numberOfFields"});
}

std::string offsets(const events::EventRow& row) {
  std::string text;
  for (const events::Argument& argument : row.arguments) text += std::to_string(argument.offset) + " ";
  return text;
}

TEST(EventRows, TakeTheirArgumentsFromTheRightFields) {
  const std::pair<int, const char*> cases[] = {
      {events::async_event::ErrorEvent, "8 12 "},
      {events::async_event::ContinuousPointMeasDataReady, "12 0 "},
      {events::async_event::StatusChangeEvent, "8 "},
      {events::async_event::ReflectorsData, "20 36 24 28 16 "},
      {events::async_event::CenterPointData, "12 20 28 36 44 52 60 68 100 108 116 124 132 140 148 16 "},
      {events::async_event::StillImageDataReady, "16 20 0 "},
      {events::async_event::MeasurementStatusInfoData, "20 "},
      {events::async_event::ExceptionEvent, "65535 65535 "},
  };
  for (const auto& [dispid, expected] : cases) {
    const events::EventRow& row = events::async_events()[static_cast<std::size_t>(dispid) - 1];
    EXPECT_EQ(offsets(row), expected) << row.name;
  }
}

TEST(AnswerRows, SayWhatEveryAnswerFires) {
  for (const protocol::CommandRow& command : protocol::commands()) {
    const events::AnswerRow* row = events::find_answer(command.code);
    ASSERT_EQ(row == nullptr, command.answer == nullptr) << command.code;
    if (row == nullptr) continue;
    EXPECT_EQ(row->completion, std::strcmp(command.answer->name, "BasicCommandRT") == 0) << command.name;
    EXPECT_EQ(row->completion, row->async_event == nullptr) << command.name;
    EXPECT_EQ(row->sync_event != nullptr, command.series) << command.name;
  }
  EXPECT_EQ(events::find_answer(-1), nullptr);
  EXPECT_EQ(events::find_answer(145), nullptr);
}

TEST(AnswerRows, KeepTheFourUntestedListsAndTheTwoDoubleEvents) {
  std::set<int> untested, twice, second;
  for (int code = 0; code <= 144; ++code) {
    const events::AnswerRow* row = events::find_answer(code);
    if (row == nullptr) continue;
    if (!row->status_tested) untested.insert(code);
    if (row->status_tested_twice) twice.insert(code);
    if (row->async_event2 != nullptr) second.insert(code);
  }
  EXPECT_EQ(untested, (std::set<int>{42, 75, 86, 123}));
  EXPECT_EQ(twice, std::set<int>{140});
  EXPECT_EQ(second, (std::set<int>{121, 140}));
  EXPECT_STREQ(events::find_answer(121)->async_event->name, "LongSystemParameterData");
  EXPECT_STREQ(events::find_answer(121)->async_event2->name, "SystemParameterData");
  EXPECT_STREQ(events::find_answer(140)->async_event->name, "KorvInfoData");
}

}  // namespace
}  // namespace kestrine
