// Values out of packets, one call at a time.
#include "byte_variant.h"
#include "connection/packet_access.h"

namespace kestrine::test {
namespace {

const std::string kRaised = "80004005 ";
const std::string kHeaderNull =
    "40020 Kestrine.LTConnect.1: ContinuousDataGetHeaderInfo(): Invalid data passed-in (first parameter) !";
const std::string kHeaderKind =
    "40023 Kestrine.LTConnect.1: ContinuousDataGetHeaderInfo(): Passed data is invalid (not a continuous measurement "
    "packet) !";
const std::string kElementNull =
    "40021 Kestrine.LTConnect.1: Continuous<xxx>GetAt(): Invalid data passed-in (first parameter) !";
const std::string kElementKind =
    "40024 Kestrine.LTConnect.1: ContinuousPointGetAt(): Passed data is invalid (not a continuous point measurement "
    "packet) !";
const std::string kElementIndex = "40022 Kestrine.LTConnect.1: Continuous<xxx>GetAt(): Index not in valid range !";
const std::string kStatistic = "40006 Kestrine.LTConnect.1: Current Statistic Mode not suitable for this Function";

constexpr PacketKind kKinds[] = {kPoints, kPoints2, kProbes};
constexpr int kUntouched = -77;

struct Outcome {
  std::string told;
  std::vector<double> values;
};

// What the reader of such elements hands out from there.
std::vector<double> values_at(const Bytes& bytes, std::size_t at, const PacketKind& kind) {
  std::vector<double> values;
  for (int i = 0; i < kind.element_words; ++i, at += 4) values.push_back(get_i32(bytes, at));
  for (int i = 0; i < kind.element_doubles; ++i, at += 8) std::memcpy(&values.emplace_back(), &bytes[at], 8);
  return values;
}

class AccessorsTest : public ClientTest {
 protected:
  template <class... Outputs>
  Outcome outputs_of(auto call) {
    std::tuple<Outputs...> values(static_cast<Outputs>(kUntouched)...);
    const auto fill = [&](Outputs&... output) {
      const std::string result = told(call(&output...));
      return Outcome{result, {static_cast<double>(output)...}};
    };
    return std::apply(fill, values);
  }
  template <class... Outputs>
  Outcome read(HRESULT (ILTConnect::*reader)(VARIANT*, Outputs*...), VARIANT* data) {
    return outputs_of<Outputs...>([&](auto*... output) { return (connection.get()->*reader)(data, output...); });
  }
  template <class... Outputs>
  Outcome read(HRESULT (ILTConnect::*reader)(VARIANT*, std::int32_t, Outputs*...), VARIANT* data, int index) {
    return outputs_of<Outputs...>([&](auto*... output) { return (connection.get()->*reader)(data, index, output...); });
  }

  Outcome header(VARIANT* data) { return read(&ILTConnect::ContinuousDataGetHeaderInfo, data); }
  Outcome probe_header(VARIANT* data) { return read(&ILTConnect::ContinuousProbeDataGetHeaderInfo, data); }
  Outcome element(const PacketKind& kind, VARIANT* data, int index) {
    if (kind.type == kPoints.type) return read(&ILTConnect::ContinuousPointGetAt, data, index);
    if (kind.type == kPoints2.type) return read(&ILTConnect::ContinuousPoint2GetAt, data, index);
    return read(&ILTConnect::ContinuousProbeDataGetAt, data, index);
  }

  void expect_packet(const Bytes& bytes, bool suppressing) {
    ByteVariant data(bytes);
    const std::int32_t type = get_i32(bytes, 4);
    const std::int32_t count = get_i32(bytes, 12);
    const bool has_points = (type == kPoints.type || type == kPoints2.type) && bytes.size() >= kPoints.first();
    const bool has_probes = type == kProbes.type && bytes.size() >= kProbes.first();
    const double as_it_stands = count;
    const auto low_half = static_cast<std::int16_t>(kTryMode);
    expect_outcome(header(data), has_points ? "" : kHeaderKind, {as_it_stands, 16, 24.5, 32.5, 40.5, double{low_half}});
    expect_outcome(probe_header(data), has_probes ? "" : kHeaderKind,
                   {as_it_stands, 16, 24, 28, 32, 36, 40, 44.5, 52.5, 60.5, double{low_half}});
    // With errors suppressed, each reader of points goes at the step of its own elements: 2 of the larger ones fit into
    // 6 of the smaller, 15 of the smaller into 6 of the larger.
    for (const int index : {INT32_MIN, -1, 0, 1, 2, 4, 5, 6, 7, 14, 15, INT32_MAX - 1, INT32_MAX}) {
      for (const PacketKind& reader : kKinds) {
        SCOPED_TRACE(testing::Message() << "reader of " << reader.type << ", index " << index);
        const std::size_t at = reader.first() + static_cast<std::size_t>(index) * reader.element();
        if (reader.type == kProbes.type ? !has_probes : !has_points) {
          expect_outcome(element(reader, data, index), kElementKind);
        } else if (reader.type != type && !suppressing) {
          expect_outcome(element(reader, data, index), kStatistic);
        } else if (index < 0 || index >= count || at + reader.element() > bytes.size()) {
          expect_outcome(element(reader, data, index), kElementIndex);
        } else {
          expect_outcome(element(reader, data, index), "", values_at(bytes, at, reader));
        }
      }
    }
  }
  // The failure, with the outputs left alone; none: the values.
  static void expect_outcome(const Outcome& outcome, const std::string& failure, std::vector<double> values = {}) {
    if (!failure.empty()) values.assign(outcome.values.size(), kUntouched);
    EXPECT_EQ(outcome.told, failure.empty() ? "ok" : kRaised + failure);
    EXPECT_EQ(outcome.values, values);
  }
};

TEST_F(AccessorsTest, EachReaderTakesItsOwnKindsAndWhatLiesWholeWithinTheCount) {
  constexpr int kElements = 6;
  for (const bool suppressing : {false, true}) {
    environment.set(u"SuppressStatisticModeErrors", suppressing);
    make();
    for (std::int32_t type = -1; type <= 12; ++type) {
      const auto known = std::ranges::find(kKinds, type, &PacketKind::type);
      Bytes bytes = continuous(known == std::end(kKinds) ? kProbes : *known, kElements);
      put_i32(bytes, 4, type);
      for (const std::int32_t count : {-1, 0, kElements - 1, kElements, kElements + 1, INT32_MAX}) {
        SCOPED_TRACE(testing::Message() << "type " << type << ", count " << count << ", suppressing " << suppressing);
        put_i32(bytes, 12, count);
        expect_packet(bytes, suppressing);
      }
    }
  }
}

TEST_F(AccessorsTest, OfATruncatedPacketThoseElementsAreReadThatAreWhole) {
  make();
  for (const PacketKind& kind : kKinds) {
    for (Bytes bytes = continuous(kind, 2); bytes.size() >= 16; bytes.resize(bytes.size() - 4)) {
      SCOPED_TRACE(testing::Message() << "type " << kind.type << ", " << bytes.size() << " bytes");
      expect_packet(bytes, false);
    }
  }
}

TEST(PacketAccess, FindsTheBytesOfAVariantThroughReferences) {
  ByteVariant data(Bytes{1, 2, 3});
  VARIANT array{}, outer{};
  array.vt = VT_BYREF | VT_ARRAY | VT_UI1;
  array.pparray = &data.variant.parray;
  outer.vt = VT_BYREF | VT_VARIANT;
  outer.pvarVal = &array;
  for (const VARIANT* each : {&data.variant, &array, &outer}) {
    const auto bytes = connection::bytes_of(each);
    EXPECT_TRUE(bytes && std::ranges::equal(*bytes, Bytes{1, 2, 3}));
  }
}

TEST(PacketAccess, FindsNoBytesInWhatIsNoArrayOfThem) {
  EXPECT_FALSE(connection::bytes_of(nullptr));
  EXPECT_FALSE(connection::bytes_of(ByteVariant(Bytes(20), VT_I4)));
  EXPECT_FALSE(connection::bytes_of(ByteVariant(300, 2)));
  VARIANT variant{};
  for (const int type : {int{VT_I4}, VT_ARRAY | VT_UI1, VT_BYREF | VT_VARIANT, VT_BYREF | VT_ARRAY | VT_UI1}) {
    variant.vt = static_cast<VARTYPE>(type);
    EXPECT_FALSE(connection::bytes_of(&variant)) << type;
  }
}

TEST_F(AccessorsTest, WithoutBytesEveryReaderFailsAsThePolicySays) {
  make();
  ByteVariant none(Bytes{});
  for (VARIANT* data : {static_cast<VARIANT*>(nullptr), &none.variant}) {
    for (const Outcome& each : {header(data), probe_header(data)})
      expect_outcome(each, data ? kHeaderKind : kHeaderNull);
    for (const PacketKind& kind : kKinds) expect_outcome(element(kind, data, 0), data ? kElementKind : kElementNull);
  }
  connection->put_ExceptionHandlingPolicy(1);
  EXPECT_THROW(header(nullptr), _com_error);
}

}  // namespace
}  // namespace kestrine::test
