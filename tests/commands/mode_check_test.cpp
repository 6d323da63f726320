// Which measurement mode lets which measurements start.
#include "connection/measurement_state.h"

#include <gtest/gtest.h>

#include <string_view>

namespace kestrine::test {
namespace {

TEST(ModeCheck, KeepsBackTheMeasurementsOfBothCommandSetsThatDoNotFitTheMode) {
  int checked = 0;
  for (const bool legacy : {false, true}) {
    for (std::int32_t mode = -1; mode <= 24; ++mode) {
      connection::MeasurementState state;
      state.set_mode(mode);
      state.set_legacy_stationary(legacy);
      const bool profile = mode >= 20 && mode <= 23;
      const bool point = mode == 0 || profile;
      const bool probe = mode == 6 || (legacy && mode == 0);
      for (const auto rows : {protocol::sync_methods(), protocol::async_methods()}) {
        for (const protocol::MemberRow& row : rows) {
          const std::string_view name = row.name;
          const protocol::Error* expected = nullptr;
          if (name == "StartContinuousPointMeasurement" && point) expected = &protocol::error::kNotContinuousMode;
          if (name == "StartContinuousProbeMeasurement" && probe) expected = &protocol::error::kNotContinuousMode;
          if (name.starts_with("MeasureStationaryPoint") && !point) expected = &protocol::error::kNotStationaryMode;
          if (name.starts_with("MeasureStationaryProbe") && !probe && !profile) {
            expected = &protocol::error::kNotStationaryMode;
          }
          EXPECT_EQ(state.check_mode(row.mode_check), expected) << name << " in mode " << mode << legacy;
          checked += expected != nullptr ? 1 : 0;
        }
      }
    }
  }
  EXPECT_GT(checked, 100);
}

}  // namespace
}  // namespace kestrine::test
