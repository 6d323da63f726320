// Values out of packets, one call at a time.
#include "byte_variant.h"
#include "kestrine/com_error.h"

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

constexpr int kUntouched = -77;

struct Outcome {
  std::string told;
  std::vector<double> values;
};

// What an element's reader hands out at `base`, field by field.
std::vector<double> fields(int words, int doubles, int base) {
  std::vector<double> values;
  for (int i = 0; i < words; ++i) values.push_back(base + 4 * i);
  for (int i = 0; i < doubles; ++i) values.push_back(base + 4 * words + 8 * i + 0.5);
  return values;
}

class AccessorsTest : public ClientTest {
 protected:
  template <class... Outputs>
  Outcome read(HRESULT (ILTConnect::*reader)(VARIANT*, Outputs*...), VARIANT* data) {
    std::tuple<Outputs...> values(static_cast<Outputs>(kUntouched)...);
    return std::apply(
        [&](Outputs&... output) {
          const std::string result = told((connection.get()->*reader)(data, &output...));
          return Outcome{result, {static_cast<double>(output)...}};
        },
        values);
  }
  template <class... Outputs>
  Outcome read(HRESULT (ILTConnect::*reader)(VARIANT*, std::int32_t, Outputs*...), VARIANT* data, int index) {
    std::tuple<Outputs...> values(static_cast<Outputs>(kUntouched)...);
    return std::apply(
        [&](Outputs&... output) {
          const std::string result = told((connection.get()->*reader)(data, index, &output...));
          return Outcome{result, {static_cast<double>(output)...}};
        },
        values);
  }

  Outcome header(VARIANT* data) { return read(&ILTConnect::ContinuousDataGetHeaderInfo, data); }
  Outcome probe_header(VARIANT* data) { return read(&ILTConnect::ContinuousProbeDataGetHeaderInfo, data); }
  Outcome point(VARIANT* data, int index) { return read(&ILTConnect::ContinuousPointGetAt, data, index); }
  Outcome point2(VARIANT* data, int index) { return read(&ILTConnect::ContinuousPoint2GetAt, data, index); }
  Outcome probe(VARIANT* data, int index) { return read(&ILTConnect::ContinuousProbeDataGetAt, data, index); }

  void make_suppressing() {
    environment.set(u"SuppressStatisticModeErrors", 1);
    make();
  }
  // All five fail, as given for headers and elements, and leave their outputs alone.
  void expect_failures(VARIANT* data, const std::string& of_headers, const std::string& of_elements) {
    for (const Outcome& outcome : {header(data), probe_header(data)}) expect_failure(outcome, of_headers);
    for (const Outcome& outcome : {point(data, 0), point2(data, 0), probe(data, 0)}) {
      expect_failure(outcome, of_elements);
    }
  }
  static void expect_failure(const Outcome& outcome, const std::string& text) {
    EXPECT_EQ(outcome.told, kRaised + text);
    EXPECT_EQ(outcome.values, std::vector<double>(outcome.values.size(), kUntouched));
  }
};

TEST_F(AccessorsTest, EveryOutputComesFromItsFieldOfTheRecord) {
  make();
  ByteVariant points(continuous(kPoints, 3));
  ByteVariant points2(continuous(kPoints2, 3));
  ByteVariant probes(continuous(kProbes, 3));
  for (VARIANT* data : {static_cast<VARIANT*>(points), static_cast<VARIANT*>(points2)}) {
    EXPECT_EQ(header(data).values, (std::vector<double>{3, 16, 24.5, 32.5, 40.5, 20}));
  }
  EXPECT_EQ(probe_header(probes).values, (std::vector<double>{3, 16, 24, 28, 32, 36, 40, 44.5, 52.5, 60.5, 20}));
  for (const int k : {0, 2}) {
    EXPECT_EQ(point(points, k).values, fields(3, 3, 1000 * (k + 1)));
    EXPECT_EQ(point2(points2, k).values, fields(3, 10, 1000 * (k + 1)));
    EXPECT_EQ(probe(probes, k).values, fields(5, 24, 1000 * (k + 1)));
  }
  EXPECT_EQ(probe(probes, 0).values.size(), 29u);
}

TEST_F(AccessorsTest, TheTryModeIsTheLowHalfOfItsWord) {
  make();
  const std::pair<std::int32_t, double> rows[] = {{1, 1}, {0x8000, -32768}, {0x10000, 0}, {-1, -1}};
  for (const auto& [word, flag] : rows) {
    Bytes points = continuous(kPoints, 0);
    Bytes probes = continuous(kProbes, 0);
    put_i32(points, 20, word);
    put_i32(probes, 20, word);
    EXPECT_EQ(header(ByteVariant(points)).values.back(), flag);
    EXPECT_EQ(probe_header(ByteVariant(probes)).values.back(), flag);
  }
}

TEST_F(AccessorsTest, EachReaderTakesItsOwnKindsOfPackets) {
  make();
  for (std::int32_t type = -1; type <= 12; ++type) {
    Bytes bytes = continuous(kProbes, 2);
    put_i32(bytes, 4, type);
    ByteVariant data(bytes);
    const bool is_point = type == kPoints.type;
    const bool is_point2 = type == kPoints2.type;
    const bool is_probe = type == kProbes.type;
    const auto expected = [](bool taken, const std::string& failure) { return taken ? "ok" : kRaised + failure; };
    EXPECT_EQ(header(data).told, expected(is_point || is_point2, kHeaderKind)) << type;
    EXPECT_EQ(probe_header(data).told, expected(is_probe, kHeaderKind)) << type;
    EXPECT_EQ(point(data, 0).told, expected(is_point, is_point2 ? kStatistic : kElementKind)) << type;
    EXPECT_EQ(point2(data, 0).told, expected(is_point2, is_point ? kStatistic : kElementKind)) << type;
    EXPECT_EQ(probe(data, 0).told, expected(is_probe, kElementKind)) << type;
  }
}

TEST_F(AccessorsTest, TheStatisticModeIsLookedAtBeforeTheIndexAndAfterTheKind) {
  make();
  expect_failure(point(ByteVariant(continuous(kPoints2, 1)), -1), kStatistic);
  expect_failure(point2(ByteVariant(continuous(kPoints, 1)), 1), kStatistic);
  expect_failure(point(ByteVariant(continuous(kProbes, 1)), -1), kElementKind);
}

TEST_F(AccessorsTest, SuppressionReadsAtTheStepOfTheReadersOwnElements) {
  make_suppressing();
  const Bytes points = continuous(kPoints, 6);
  const Bytes points2 = continuous(kPoints2, 2);
  ByteVariant data(points);
  ByteVariant data2(points2);
  const auto first_word = [](const Bytes& bytes, std::size_t at) { return static_cast<double>(get_i32(bytes, at)); };
  EXPECT_EQ(point(data2, 0).values, fields(3, 3, 1000));
  EXPECT_EQ(point(data2, 1).values[0], first_word(points2, 48 + 36));
  EXPECT_EQ(point2(data, 0).values[0], 1000);
  EXPECT_EQ(point2(data, 1).values[0], first_word(points, 48 + 92));
  expect_failure(point2(data, 2), kElementIndex);  // within the count, but behind the last byte
  expect_failure(point(data2, 2), kElementIndex);
  expect_failure(probe(data, 0), kElementKind);
}

TEST_F(AccessorsTest, AnIndexOutsideTheCountIsRefused) {
  make();
  ByteVariant points(continuous(kPoints, 3));
  ByteVariant points2(continuous(kPoints2, 3));
  ByteVariant probes(continuous(kProbes, 3));
  for (const int index : {-1, 3, 4, INT32_MAX, INT32_MIN}) {
    expect_failure(point(points, index), kElementIndex);
    expect_failure(point2(points2, index), kElementIndex);
    expect_failure(probe(probes, index), kElementIndex);
  }
  expect_failure(point(ByteVariant(continuous(kPoints, 0)), 0), kElementIndex);
}

TEST_F(AccessorsTest, ACountThatPromisesTooMuchReadsNothingBehindTheEnd) {
  make();
  for (const std::int32_t count : {3, INT32_MAX, -1}) {
    Bytes bytes = continuous(kPoints, 2);
    put_i32(bytes, 12, count);
    ByteVariant data(bytes);
    EXPECT_EQ(header(data).values[0], count) << "handed out as it stands";
    EXPECT_EQ(point(data, 1).told, count < 0 ? kRaised + kElementIndex : "ok");
    expect_failure(point(data, 2), kElementIndex);
    expect_failure(point(data, INT32_MAX - 1), kElementIndex);
  }
}

TEST_F(AccessorsTest, OfATruncatedPacketThoseElementsAreReadThatAreWhole) {
  make();
  for (const PacketKind& kind : {kPoints, kPoints2, kProbes}) {
    const Bytes whole = continuous(kind, 2);
    for (std::size_t size = 0; size <= whole.size(); size += 4) {
      ByteVariant data(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)));
      const bool is_probe = kind.type == kProbes.type;
      const bool has_header = size >= kind.first();
      EXPECT_EQ((is_probe ? probe_header(data) : header(data)).told, has_header ? "ok" : kRaised + kHeaderKind);
      for (const int k : {0, 1}) {
        const bool is_whole = size >= kind.first() + kind.element() * static_cast<std::size_t>(k + 1);
        const Outcome outcome = is_probe                    ? probe(data, k)
                                : kind.type == kPoints.type ? point(data, k)
                                                            : point2(data, k);
        EXPECT_EQ(outcome.told, is_whole ? "ok" : kRaised + (has_header ? kElementIndex : kElementKind)) << size;
      }
    }
  }
}

TEST_F(AccessorsTest, WhatIsNoArrayOfBytesIsInvalid) {
  make();
  expect_failures(nullptr, kHeaderNull, kElementNull);
  ByteVariant wide(continuous(kPoints, 1), VT_I4);
  expect_failures(wide, kHeaderNull, kElementNull);

  SAFEARRAYBOUND bounds[] = {{300, 0}, {2, 0}};
  VARIANT rectangle{};
  rectangle.vt = VT_ARRAY | VT_UI1;
  rectangle.parray = SafeArrayCreate(VT_UI1, 2, bounds);
  expect_failures(&rectangle, kHeaderNull, kElementNull);
  VariantClear(&rectangle);

  SAFEARRAY* no_array = nullptr;
  VARIANT variant{};
  const auto expect_invalid = [&](int type) {
    variant.vt = static_cast<VARTYPE>(type);
    expect_failures(&variant, kHeaderNull, kElementNull);
  };
  for (const int type : {int{VT_EMPTY}, int{VT_I4}, VT_ARRAY | VT_UI1, VT_BYREF | VT_ARRAY | VT_UI1}) {
    expect_invalid(type);
  }
  variant.pvarVal = nullptr;
  expect_invalid(VT_BYREF | VT_VARIANT);
  variant.pparray = &no_array;
  expect_invalid(VT_BYREF | VT_ARRAY | VT_UI1);

  ByteVariant empty(Bytes{});
  expect_failures(empty, kHeaderKind, kElementKind);
}

TEST_F(AccessorsTest, AnArrayIsFoundThroughReferences) {
  make();
  ByteVariant data(continuous(kPoints, 1));
  VARIANT array{};
  array.vt = VT_BYREF | VT_ARRAY | VT_UI1;
  array.pparray = &data.variant.parray;
  VARIANT outer{};
  outer.vt = VT_BYREF | VT_VARIANT;
  for (VARIANT* inner : {&data.variant, &array}) {
    outer.pvarVal = inner;
    EXPECT_EQ(point(&outer, 0).values, fields(3, 3, 1000));
    EXPECT_EQ(point(inner, 0).values, fields(3, 3, 1000));
  }
}

TEST_F(AccessorsTest, AMissingOutputIsRefusedBeforeTheDataAreLookedAt) {
  make();
  std::int32_t number = kUntouched;
  VL_MeasurementStatus status = VL_MS_PrismError;
  EXPECT_EQ(connection->ContinuousDataGetHeaderInfo(nullptr, &number, nullptr, nullptr, nullptr, nullptr, nullptr),
            E_POINTER);
  EXPECT_EQ(connection->ContinuousPointGetAt(nullptr, 0, &status, &number, &number, nullptr, nullptr, nullptr),
            E_POINTER);
  EXPECT_EQ(number, kUntouched);
}

TEST_F(AccessorsTest, FailuresFollowTheExceptionPolicy) {
  make();
  connection->put_ExceptionHandlingPolicy(1);
  EXPECT_THROW(header(nullptr), _com_error);
  ByteVariant points(continuous(kPoints, 1));
  try {
    point(points, 1);
    ADD_FAILURE() << "nothing thrown";
  } catch (const _com_error& error) {
    EXPECT_EQ(error.Error(), E_FAIL);
    EXPECT_EQ(to_utf8(error.Description()), "Continuous<xxx>GetAt(): Index not in valid range !");
    IID interface_id{};
    EXPECT_EQ(error.ErrorInfo()->GetGUID(&interface_id), S_OK);
    EXPECT_EQ(interface_id, IID_ILTConnect);
  }
}

}  // namespace
}  // namespace kestrine::test
