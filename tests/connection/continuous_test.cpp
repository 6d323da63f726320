// Continuous packets read in place.
#include "kestrine/continuous.h"

#include "byte_variant.h"

namespace kestrine::test {
namespace {

using Points = ContinuousView<MultiMeasResultT>;
using Points2 = ContinuousView<MultiMeasResult2T>;
using Probes = ContinuousView<ProbeContinuousResultT>;

static_assert(std::random_access_iterator<Points::iterator>);

constexpr std::size_t kGuard = 4;

// The elements from `at` on; nothing before them, nothing behind.
template <auto Field, class View>
void expect_column(const View& view, const auto& column, std::size_t at = 0) {
  using Type = typename detail::Field<Field>::Type;
  for (std::size_t k = 0; k < view.size(); ++k) {
    const auto element = view[k];
    Type value;
    std::memcpy(&value, reinterpret_cast<const char*>(&element) + detail::Field<Field>::offset, sizeof value);
    EXPECT_EQ(column[at + k], value) << "element " << k << ", offset " << detail::Field<Field>::offset;
  }
  for (std::size_t k = 0; k < at; ++k) EXPECT_EQ(column[k], Type{}) << "written before";
  for (std::size_t k = 0; k < kGuard; ++k) EXPECT_EQ(column[at + view.size() + k], Type{}) << "written behind";
}

// Behind a byte of another sort: no element lies where a double likes to be.
Bytes shifted(const PacketKind& kind, int count) {
  return Bytes{0} + continuous(kind, count);
}

template <class View, auto... Fields>
void expect_columns(const PacketKind& kind) {
  using Columns = std::tuple<std::vector<typename detail::Field<Fields>::Type>...>;
  for (const int count : {0, 1, 3, 4, 5, 8, 11, 63, 64, 65, 80, 127, 200}) {
    SCOPED_TRACE(count);
    const Bytes bytes = shifted(kind, count);
    const auto packet = std::span(bytes).subspan(1);
    const auto view = View::of(packet);
    ASSERT_TRUE(view && view->size() == static_cast<std::size_t>(count));
    const auto expect = [&](auto&& copy) {
      const auto each = [&](auto&... column) {
        (column.resize(view->size() + kGuard), ...);
        copy(column...);
        (expect_column<Fields>(*view, column), ...);
      };
      Columns columns;
      std::apply(each, columns);
    };
    expect([&](auto&... column) { view->template copy<Fields...>(column...); });
    // Where the processor has wider vectors, nothing else would take many elements by the narrow ones.
    if (view->size() < detail::narrow::kTogether) continue;
    expect([&](auto&... column) {
      detail::narrow::copy<View::Layout::size, detail::kPlaces<detail::Field<Fields>...>, false>(
          packet.data() + View::Layout::first, view->size(),
          detail::columns_of<detail::Field<Fields>...>(column.data()...));
    });
  }
}

TEST(ContinuousViewTest, ElementsAndHeaderAreThoseOfThePacket) {
  const Bytes bytes = continuous(kPoints2, 3);
  const auto points = Points2::of(bytes);
  ASSERT_TRUE(points);
  EXPECT_EQ(points->header().lNumberOfResults, 3);
  EXPECT_EQ(double{points->header().dHumidity}, 40.5);
  std::vector<double> values;
  for (const MeasValue2T& point : *points) values.insert(values.end(), {double(point.status), point.dAprioriCovar23});
  EXPECT_EQ(values, (std::vector<double>{1000, 1084.5, 2000, 2084.5, 3000, 3084.5}));
  EXPECT_EQ((*points)[2].lTime2, 3008);
}

TEST(ContinuousViewTest, APacketThatIsNotWhatItSaysGivesNoView) {
  const Bytes probes = continuous(kProbes, 2);
  EXPECT_TRUE(Probes::of(probes));
  EXPECT_FALSE(Points::of(probes));
  EXPECT_FALSE(Points2::of(continuous(kPoints, 9)));
  EXPECT_TRUE(Probes::of(probes + Bytes(1))) << "bytes behind the last element do no harm";
  for (std::size_t size = 0; size < probes.size(); ++size) {
    EXPECT_FALSE(Probes::of(std::span(probes).first(size))) << size;
  }
  for (const std::int32_t count : {-1, INT32_MIN, 3, INT32_MAX}) {
    Bytes lying = probes;
    put_i32(lying, 12, count);
    EXPECT_FALSE(Probes::of(lying)) << count;
  }
}

TEST(ContinuousViewTest, ColumnsHoldWhatTheElementsHold) {
  using V = MeasValueT;
  expect_columns<Points, &V::status, &V::lTime1, &V::lTime2, &V::dVal1, &V::dVal2, &V::dVal3>(kPoints);
  expect_columns<Points, &V::dVal3>(kPoints);
  expect_columns<Points, &V::dVal3, &V::lTime1, &V::status, &V::dVal1, &V::dVal1>(kPoints);
  using V2 = MeasValue2T;
  expect_columns<Points2, &V2::status, &V2::lTime1, &V2::dVal2, &V2::dVal3, &V2::dAprioriStd1, &V2::dAprioriStdTotal,
                 &V2::dAprioriCovar13, &V2::dAprioriCovar23>(kPoints2);
  using P = ProbeMeasValueT;
  expect_columns<Probes, &P::status, &P::triggerStatus, &P::lRotationStatus, &P::lTime1, &P::lTime2, &P::dPosition1,
                 &P::dPosition2, &P::dPosition3, &P::dQuaternion0, &P::dRotationAngleZ, &P::dCovarRotationAngleYZ>(
      kProbes);
}

TEST(ContinuousViewTest, BlocksCollectedInLargeArraysHoldWhatTheElementsHold) {
  using V = MeasValueT;
  constexpr std::size_t kRoom = std::size_t{1} << 20;  // 16 MiB in all
  for (const int count : {3, 4, 9, 40}) {
    const Bytes bytes = shifted(kPoints, count);
    const auto points = Points::of(std::span(bytes).subspan(1));
    ASSERT_TRUE(points);
    for (std::size_t at = 0; at < 5; ++at) {
      for (std::size_t apart = 0; apart < 2; ++apart) {  // columns that lie on no bounds together
        SCOPED_TRACE(testing::Message() << count << " at " << at << ", apart " << apart);
        std::vector<std::int32_t> times(kRoom + at), times2(kRoom + at + apart);
        std::vector<double> values(kRoom + at);
        points->copy<&V::lTime1, &V::lTime2, &V::dVal3>(
            std::span(times).subspan(at), std::span(times2).subspan(at + apart), std::span(values).subspan(at));
        expect_column<&V::lTime1>(*points, times, at);
        expect_column<&V::lTime2>(*points, times2, at + apart);
        expect_column<&V::dVal3>(*points, values, at);
      }
    }
  }
}

TEST(ContinuousViewTest, AnArrayTooShortThrowsAndNothingIsWritten) {
  const Bytes bytes = continuous(kPoints, 5);
  std::vector<std::int32_t> times(5, -77);
  std::vector<double> values(4, -77);
  const auto points = Points::of(bytes);
  EXPECT_THROW((points->copy<&MeasValueT::lTime1, &MeasValueT::dVal1>(times, values)), std::length_error);
  EXPECT_TRUE(times == std::vector<std::int32_t>(5, -77) && values == std::vector<double>(4, -77));
}

}  // namespace
}  // namespace kestrine::test
