// The events that measurements and positions fire.
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

class Results : public ClientTest {
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

TEST_F(Results, OfASinglePointFollowTheMode) {
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

TEST_F(Results, ThatACallConsumedAreKeptFromTheSynchronousInterfaceOnlyWhenStationary) {
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

TEST_F(Results, OfAProbeAreToldDifferentlyByTheTwoInterfaces) {
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
    EXPECT_EQ(connection->measurement().blocks_continuous_probe(), mode == VL_MM_Standard) << "the legacy flag";
    EXPECT_TRUE(connection->measurement().is_start_acknowledged());
  }
}

}  // namespace
}  // namespace kestrine::test
