// The events that measurements and positions fire.
#include "client_test.h"

namespace kestrine::test {
namespace {

// A result whose doubles from `first` on count up from 1.
Bytes result(std::int32_t type, std::size_t size, std::size_t first, std::int32_t status, std::int32_t mode) {
  Bytes bytes = packet(static_cast<std::int32_t>(size), type);
  put_i32(bytes, 8, status);
  put_i32(bytes, 12, mode);
  for (std::size_t at = first; at + 8 <= size; at += 8) put_f64(bytes, at, static_cast<double>((at - first) / 8 + 1));
  return bytes;
}

Bytes point(std::int32_t status = 0) {
  Bytes bytes = result(VL_DT_SingleMeasResult, 156, 20, status, 4);
  put_i32(bytes, 16, 0x8000);
  return bytes;
}

Bytes point2(std::int32_t status = 0) {
  Bytes bytes = result(VL_DT_SingleMeasResult2, 204, 20, status, 4);
  put_i32(bytes, 16, 1);
  return bytes;
}

Bytes probe(std::int32_t mode, std::int32_t status = 0) {
  Bytes bytes = result(VL_DT_StationaryProbeMeasResult, 376, 48, status, mode);
  for (std::size_t i = 0; i < 7; ++i) put_i32(bytes, 20 + 4 * i, static_cast<std::int32_t>(101 + i));
  return bytes;
}

std::string counting(int from, int to) {
  std::string text;
  for (int i = from; i <= to; ++i) text.append(" ").append(std::to_string(i));
  return text;
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

TEST_F(Results, OfASinglePointSkipThePointingErrorsOfACentre) {
  make(kSync);
  EXPECT_EQ(of(point()), Lines{"sync StationaryPointMeasData" + counting(1, 17) + " b-32768"});
  EXPECT_EQ(of(point2()), Lines{"sync StationaryPoint2MeasData" + counting(1, 23) + " b1"});
  connection->measurement().set_mode(4);
  EXPECT_EQ(of(point()), Lines{"sync CenterPointData 4" + counting(1, 7) + counting(11, 17) + " b-32768"});
  EXPECT_EQ(of(point2()), Lines{"sync CenterPoint2Data 4" + counting(1, 10) + counting(14, 23) + " b1"});
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
  EXPECT_EQ(of(probe(VL_MM_6DStationary)),
            Lines{"async StationaryProbeMeasData" + counting(101, 107) + counting(1, 41) + " b0"});
  const std::string centre = " CenterPointProbeData 4" + counting(1, 14);
  for (const std::string& line : of(probe(4))) EXPECT_NE(line.find(centre), std::string::npos) << line;
}

}  // namespace
}  // namespace kestrine::test
