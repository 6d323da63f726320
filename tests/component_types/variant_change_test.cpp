#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "kestrine/text.h"
#include "kestrine/type_info.h"

namespace kestrine::test {
namespace {

VARIANT holding(VARTYPE type, std::int64_t bits) {
  VARIANT value{};
  value.vt = type;
  value.llVal = bits;
  return value;
}
VARIANT real(double number) {
  return holding(VT_R8, std::bit_cast<std::int64_t>(number));
}
VARIANT single(float number) {
  return holding(VT_R4, std::bit_cast<std::int32_t>(number));
}
VARIANT text(const char16_t* units) {
  VARIANT value = holding(VT_BSTR, 0);
  value.bstrVal = SysAllocString(units);
  return value;
}
VARIANT reference_to(VARTYPE type, void* target) {
  VARIANT value = holding(VT_BYREF | type, 0);
  value.byref = target;
  return value;
}

// What it became, such as "7" or "'True'", or the last four digits of the status code. The source is cleared.
std::string changed(VARIANT from, VARTYPE type, USHORT flags = 0) {
  VARIANT to{};
  const HRESULT result = VariantChangeType(&to, &from, flags, type);
  VariantClear(&from);
  if (FAILED(result)) {
    EXPECT_EQ(to.vt, VT_EMPTY);
    std::array<char, 16> code;
    std::snprintf(code.data(), code.size(), "%08X", static_cast<unsigned>(result));
    return std::string(code.data()).substr(4);
  }
  EXPECT_EQ(to.vt, type);
  std::string told;
  if (type == VT_BSTR) {
    told = "'" + to_utf8({to.bstrVal, SysStringLen(to.bstrVal)}) + "'";
  } else if (type == VT_R8 || type == VT_R4) {
    std::array<char, 40> number;
    std::snprintf(number.data(), number.size(), "%.9g", type == VT_R8 ? to.dblVal : double{to.fltVal});
    told = number.data();
  } else if (type == VT_UI8) {
    told = std::to_string(to.ullVal);
  } else {
    told = std::to_string(to.llVal);  // the rest of the value is zero
  }
  VariantClear(&to);
  return told;
}

const char* const kMismatch = "0005";
const char* const kOverflow = "000A";
const char* const kBadType = "0008";

constexpr VARTYPE kIntegers[] = {VT_I1, VT_I2, VT_I4, VT_INT, VT_I8, VT_UI1, VT_UI2, VT_UI4, VT_UINT, VT_UI8};

TEST(VariantChange, KeepsNumbersAcrossAllWidths) {
  for (const VARTYPE from : kIntegers) {
    for (const VARTYPE to : kIntegers) EXPECT_EQ(changed(holding(from, 100), to), "100") << from << " to " << to;
    for (const VARTYPE to : {VT_R4, VT_R8}) EXPECT_EQ(changed(holding(from, 100), to), "100");
    EXPECT_EQ(changed(holding(from, 100), VT_BSTR), "'100'");
    EXPECT_EQ(changed(holding(VT_EMPTY, 0), from), "0");
    EXPECT_EQ(changed(text(u" 7\t"), from), "7");
  }
  EXPECT_EQ(changed(holding(VT_I1, 0xFF), VT_BSTR), "'-1'");
  EXPECT_EQ(changed(single(0.1F), VT_BSTR), "'0.1'");
}

TEST(VariantChange, RoundsHalvesToTheEvenNeighbour) {
  const std::vector<std::pair<double, std::string>> rows = {{0.5, "0"},  {1.5, "2"}, {2.5, "2"},  {-0.5, "0"},
                                                            {2.51, "3"}, {3.5, "4"}, {-2.5, "-2"}};
  for (const auto& [number, rounded] : rows) EXPECT_EQ(changed(real(number), VT_I8), rounded) << number;
  EXPECT_EQ(changed(real(254.5), VT_UI1), "254");
  EXPECT_EQ(changed(text(u"2.5"), VT_I4), "2");
  EXPECT_EQ(changed(single(1.5F), VT_I2), "2");
}

struct Row {
  VARIANT from;
  VARTYPE to;
  const char* expected;
  USHORT flags = 0;
};

// Also what has no such form.
TEST(VariantChange, RefusesWhatDoesNotFit) {
  const Row rows[] = {{holding(VT_I8, std::numeric_limits<std::int64_t>::min()), VT_I4, kOverflow},
                      {holding(VT_I8, -1), VT_UI8, kOverflow},
                      {holding(VT_UI8, -1), VT_I8, kOverflow},
                      {holding(VT_UI8, -1), VT_R8, "1.84467441e+19"},
                      {real(255.5), VT_UI1, kOverflow},
                      {real(2147483647.5), VT_I4, kOverflow},
                      {real(9223372036854775808.0), VT_I8, kOverflow},
                      {real(1e39), VT_R4, kOverflow},
                      {real(std::nan("")), VT_I4, kOverflow},
                      {text(u"1e400"), VT_R8, kOverflow},
                      {text(u"18446744073709551615"), VT_UI8, "18446744073709551615"},
                      {text(u"18446744073709551616"), VT_UI8, kOverflow},
                      {holding(VT_ERROR, DISP_E_PARAMNOTFOUND), VT_I4, kMismatch},
                      {holding(VT_I4, 1), VT_UNKNOWN, kMismatch},
                      {holding(VT_I4, 1), VT_PTR, kBadType},
                      {holding(VT_I4, 1), VT_VARIANT, kBadType}};
  for (const Row& row : rows) EXPECT_EQ(changed(row.from, row.to), row.expected) << row.from.vt << " to " << row.to;
}

TEST(VariantChange, ReadsAndWritesTextsWithoutALocale) {
  const std::vector<std::pair<const char16_t*, std::string>> read = {
      {u"-1.25", "-1.25"}, {u"+3", "3"},        {u"1e3", "1000"},    {u".5", "0.5"},      {u"1,5", kMismatch},
      {u"", kMismatch},    {u"nan", kMismatch}, {u"12x", kMismatch}, {u"+-1", kMismatch}, {u"\u0661", kMismatch}};
  for (const auto& [units, number] : read) EXPECT_EQ(changed(text(units), VT_R8), number);
  EXPECT_EQ(changed(text(std::u16string(200, u'1').c_str()), VT_R8), kMismatch);
  const std::vector<std::pair<double, std::string>> written = {
      {0.1, "'0.1'"}, {-2, "'-2'"}, {1e20, "'1E+20'"}, {1.0 / 3, "'0.333333333333333'"}, {1e-7, "'1E-07'"}};
  for (const auto& [number, units] : written) EXPECT_EQ(changed(real(number), VT_BSTR), units);
  EXPECT_EQ(changed(holding(VT_EMPTY, 0), VT_BSTR), "''");
}

TEST(VariantChange, KnowsBooleansAsNumbersAndAsWords) {
  const VARIANT yes = holding(VT_BOOL, 0xFFFF);
  const Row rows[] = {{real(-0.25), VT_BOOL, "65535"},
                      {yes, VT_R8, "-1"},
                      {yes, VT_BSTR, "'-1'"},
                      {yes, VT_UI1, "255"},
                      {yes, VT_UI4, "4294967295"},
                      {yes, VT_BSTR, "'True'", VARIANT_ALPHABOOL},
                      {holding(VT_BOOL, 0), VT_BSTR, "'False'", VARIANT_ALPHABOOL},
                      {text(u"yes"), VT_BOOL, kMismatch},
                      {text(u"True"), VT_I4, kMismatch}};
  for (const Row& row : rows) EXPECT_EQ(changed(row.from, row.to, row.flags), row.expected) << row.expected;
  for (const char16_t* word : {u"true", u"TRUE", u"#True#", u"-1", u"0.5"}) {
    EXPECT_EQ(changed(text(word), VT_BOOL), "65535") << to_utf8(word);
  }
  for (const char16_t* word : {u"False", u"0"}) EXPECT_EQ(changed(text(word), VT_BOOL), "0") << to_utf8(word);
}

TEST(VariantChange, FollowsReferences) {
  std::int16_t number = -3;
  VARIANT reference = reference_to(VT_I2, &number);
  EXPECT_EQ(changed(reference, VT_R8), "-3");
  EXPECT_EQ(changed(reference_to(VT_VARIANT, &reference), VT_BSTR), "'-3'");
  VARIANT circle = reference_to(VT_VARIANT, &circle);
  VARIANT to{};
  EXPECT_EQ(VariantCopyInd(&to, &circle), E_INVALIDARG);
  EXPECT_EQ(changed(reference_to(VT_I4, nullptr), VT_I4), "0057") << "a reference to nothing";

  VARIANT own = text(u"12");
  const VARIANT text_reference = reference_to(VT_BSTR, &own.bstrVal);
  ASSERT_EQ(VariantCopyInd(&to, &text_reference), S_OK);
  EXPECT_EQ(to.vt, VT_BSTR);
  EXPECT_NE(to.bstrVal, own.bstrVal);
  EXPECT_EQ(VariantChangeType(&to, &to, 0, VT_I4), S_OK) << "in place";
  EXPECT_EQ(to.lVal, 12);
  const BSTR kept = own.bstrVal;
  EXPECT_EQ(VariantCopyInd(&own, &own), S_OK);
  EXPECT_EQ(own.bstrVal, kept) << "onto itself";
  VariantClear(&own);
}

}  // namespace
}  // namespace kestrine::test
