#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <optional>
#include <string_view>
#include <utility>

#include "component_types/variant_types.h"

namespace kestrine::component_types {
namespace {

// A number on its way from one type to another, in the widest form of its kind.
struct Number {
  enum class Kind { kSigned, kUnsigned, kSingle, kDouble };

  Kind kind = Kind::kSigned;
  std::int64_t i64 = 0;
  std::uint64_t u64 = 0;
  double f64 = 0;

  static Number of(std::int64_t value) { return {Kind::kSigned, value, 0, 0}; }
  static Number of_unsigned(std::uint64_t value) { return {Kind::kUnsigned, 0, value, 0}; }
  static Number of(double value) { return {Kind::kDouble, 0, 0, value}; }

  double real() const {
    if (kind == Kind::kSigned) return static_cast<double>(i64);
    return kind == Kind::kUnsigned ? static_cast<double>(u64) : f64;
  }
  bool is_zero() const { return i64 == 0 && u64 == 0 && f64 == 0; }
};

std::optional<Number> number_in(const VARIANT& value) {
  switch (value.vt) {
    case VT_EMPTY:
      return Number{};
    case VT_I1:
      return Number::of(std::int64_t{static_cast<signed char>(value.cVal)});
    case VT_I2:
    case VT_BOOL:
      return Number::of(std::int64_t{value.iVal});
    case VT_I4:
    case VT_INT:
      return Number::of(std::int64_t{value.lVal});
    case VT_I8:
      return Number::of(value.llVal);
    case VT_UI1:
      return Number::of_unsigned(value.bVal);
    case VT_UI2:
      return Number::of_unsigned(value.uiVal);
    case VT_UI4:
    case VT_UINT:
      return Number::of_unsigned(value.ulVal);
    case VT_UI8:
      return Number::of_unsigned(value.ullVal);
    case VT_R4:
      return Number{Number::Kind::kSingle, 0, 0, double{value.fltVal}};
    case VT_R8:
      return Number::of(value.dblVal);
    default:
      return std::nullopt;
  }
}

// The text in ASCII without the blanks around it; empty when it is none or too long for a number.
class PlainText {
 public:
  explicit PlainText(BSTR text) {
    std::u16string_view units(text, SysStringLen(text));
    const auto is_blank = [](char16_t unit) { return unit == u' ' || unit == u'\t'; };
    while (!units.empty() && is_blank(units.front())) units.remove_prefix(1);
    while (!units.empty() && is_blank(units.back())) units.remove_suffix(1);
    if (units.size() > held_.size()) return;
    for (const char16_t unit : units) {
      if (unit > 0x7E) return;
      const char letter = static_cast<char>(unit);
      held_[length_++] = letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter + ('a' - 'A')) : letter;
    }
    complete_ = true;
  }

  // Capitals as small letters.
  std::string_view view() const { return complete_ ? std::string_view(held_.data(), length_) : std::string_view(); }

 private:
  std::array<char, 128> held_;
  std::size_t length_ = 0;
  bool complete_ = false;
};

template <class Value>
std::errc parse(std::string_view text, Value& value) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  return error == std::errc() && end != text.data() + text.size() ? std::errc::invalid_argument : error;
}

HRESULT read_number(std::string_view text, Number& number) {
  if (text.starts_with('+')) {
    text.remove_prefix(1);
    if (text.starts_with('-')) return DISP_E_TYPEMISMATCH;
  }
  // Neither "inf" nor "nan" is a number.
  if (text.find_first_not_of("0123456789+-.e") != std::string_view::npos) return DISP_E_TYPEMISMATCH;
  number = Number::of(std::int64_t{0});
  if (parse(text, number.i64) == std::errc()) return S_OK;
  number = Number::of_unsigned(0);
  if (parse(text, number.u64) == std::errc()) return S_OK;
  number = Number::of(0.0);
  const std::errc error = parse(text, number.f64);
  if (error == std::errc::result_out_of_range) return DISP_E_OVERFLOW;
  return error == std::errc() ? S_OK : DISP_E_TYPEMISMATCH;
}

// Whatever the thread's rounding mode is.
double round_half_even(double value) {
  const double below = std::floor(value);
  const double rest = value - below;
  const bool up = rest > 0.5 || (rest == 0.5 && std::fmod(below, 2) != 0);
  return up ? below + 1 : below;
}

template <class Integer>
HRESULT store(const Number& number, Integer& place) {
  using Limits = std::numeric_limits<Integer>;
  if (number.kind == Number::Kind::kSigned || number.kind == Number::Kind::kUnsigned) {
    const bool fits =
        number.kind == Number::Kind::kSigned ? std::in_range<Integer>(number.i64) : std::in_range<Integer>(number.u64);
    if (!fits) return DISP_E_OVERFLOW;
    place = number.kind == Number::Kind::kSigned ? static_cast<Integer>(number.i64) : static_cast<Integer>(number.u64);
    return S_OK;
  }
  // The largest one plus one is a power of two, which a double holds exactly.
  const double beyond = std::ldexp(1.0, Limits::digits);
  const double rounded = round_half_even(number.f64);
  if (!(rounded < beyond && rounded >= (Limits::is_signed ? -beyond : 0.0))) return DISP_E_OVERFLOW;
  place = static_cast<Integer>(rounded);
  return S_OK;
}

HRESULT store_single(const Number& number, float& place) {
  const double value = number.real();
  if (std::isfinite(value) && std::abs(value) > double{std::numeric_limits<float>::max()}) return DISP_E_OVERFLOW;
  place = static_cast<float>(value);
  return S_OK;
}

HRESULT store_text(std::string_view text, VARIANT& to) {
  std::array<char16_t, 32> units;
  std::transform(text.begin(), text.end(), units.begin(),
                 [](char letter) { return letter == 'e' ? u'E' : static_cast<char16_t>(letter); });
  to.bstrVal = SysAllocStringLen(units.data(), static_cast<UINT>(text.size()));
  return to.bstrVal != nullptr ? S_OK : E_OUTOFMEMORY;
}

HRESULT store_text(const Number& number, VARIANT& to) {
  constexpr int kSingleDigits = 7;
  constexpr int kDoubleDigits = 15;  // what survives the way to a text of this many digits and back
  std::array<char, 32> text;
  char* const end = text.data() + text.size();
  const auto written = [&] {
    switch (number.kind) {
      case Number::Kind::kSigned:
        return std::to_chars(text.data(), end, number.i64);
      case Number::Kind::kUnsigned:
        return std::to_chars(text.data(), end, number.u64);
      case Number::Kind::kSingle:
        return std::to_chars(text.data(), end, number.f64, std::chars_format::general, kSingleDigits);
      case Number::Kind::kDouble:
        break;
    }
    return std::to_chars(text.data(), end, number.f64, std::chars_format::general, kDoubleDigits);
  }();
  return store_text(std::string_view(text.data(), written.ptr), to);
}

// An unsigned type takes the boolean's bits: true is the largest value.
HRESULT store_boolean(VARIANT_BOOL value, VARIANT& to) {
  switch (to.vt) {
    case VT_UI1:
      to.bVal = static_cast<BYTE>(value);
      return S_OK;
    case VT_UI2:
      to.uiVal = static_cast<USHORT>(value);
      return S_OK;
    case VT_UI4:
    case VT_UINT:
      to.ulVal = static_cast<ULONG>(value);
      return S_OK;
    case VT_UI8:
      to.ullVal = static_cast<ULONGLONG>(value);
      return S_OK;
    default:
      return S_FALSE;
  }
}

HRESULT store_number(const Number& number, VARIANT& to) {
  switch (to.vt) {
    case VT_I1: {
      signed char narrow = 0;
      const HRESULT result = store(number, narrow);
      to.cVal = static_cast<CHAR>(narrow);
      return result;
    }
    case VT_I2:
      return store(number, to.iVal);
    case VT_I4:
    case VT_INT:
      return store(number, to.lVal);
    case VT_I8:
      return store(number, to.llVal);
    case VT_UI1:
      return store(number, to.bVal);
    case VT_UI2:
      return store(number, to.uiVal);
    case VT_UI4:
    case VT_UINT:
      return store(number, to.ulVal);
    case VT_UI8:
      return store(number, to.ullVal);
    case VT_R4:
      return store_single(number, to.fltVal);
    case VT_R8:
      to.dblVal = number.real();
      return S_OK;
    case VT_BOOL:
      to.boolVal = number.is_zero() ? VARIANT_FALSE : VARIANT_TRUE;
      return S_OK;
    case VT_BSTR:
      return store_text(number, to);
    default:
      return DISP_E_TYPEMISMATCH;
  }
}

HRESULT convert_text(BSTR text, VARIANT& to) {
  const PlainText plain(text);
  if (to.vt == VT_BOOL) {
    const bool is_true = plain.view() == "true" || plain.view() == "#true#";
    if (is_true || plain.view() == "false" || plain.view() == "#false#") {
      to.boolVal = is_true ? VARIANT_TRUE : VARIANT_FALSE;
      return S_OK;
    }
  }
  Number number;
  const HRESULT result = read_number(plain.view(), number);
  return FAILED(result) ? result : store_number(number, to);
}

HRESULT convert_object(IUnknown* object, VARIANT& to) {
  to.punkVal = nullptr;
  if (object == nullptr) return S_OK;
  const IID& wanted = to.vt == VT_DISPATCH ? IID_IDispatch : IID_IUnknown;
  return FAILED(object->QueryInterface(wanted, &to.byref)) ? DISP_E_TYPEMISMATCH : S_OK;
}

// `to` has its type and receives the value.
HRESULT convert(const VARIANT& from, USHORT flags, VARIANT& to) {
  const bool to_object = to.vt == VT_UNKNOWN || to.vt == VT_DISPATCH;
  if (from.vt == VT_UNKNOWN && to_object) return convert_object(from.punkVal, to);
  if (from.vt == VT_DISPATCH && to_object) return convert_object(from.pdispVal, to);
  if (from.vt == VT_BSTR) return convert_text(from.bstrVal, to);
  if (from.vt == VT_EMPTY && to.vt == VT_BSTR) return store_text("", to);
  if (from.vt == VT_BOOL) {
    if (to.vt == VT_BSTR && (flags & VARIANT_ALPHABOOL) != 0) {
      to.bstrVal = SysAllocString(from.boolVal != VARIANT_FALSE ? u"True" : u"False");
      return to.bstrVal != nullptr ? S_OK : E_OUTOFMEMORY;
    }
    if (const HRESULT result = store_boolean(from.boolVal, to); result != S_FALSE) return result;
  }
  const std::optional<Number> number = number_in(from);
  return number ? store_number(*number, to) : DISP_E_TYPEMISMATCH;
}

}  // namespace
}  // namespace kestrine::component_types

using namespace kestrine::component_types;

HRESULT VariantChangeType(VARIANT* to, const VARIANT* from, USHORT flags, VARTYPE type) {
  return VariantChangeTypeEx(to, from, LOCALE_USER_DEFAULT, flags, type);
}

HRESULT VariantChangeTypeEx(VARIANT* to, const VARIANT* from, LCID, USHORT flags, VARTYPE type) {
  if (to == nullptr || from == nullptr) return E_INVALIDARG;
  if (!is_variant_type(type)) return DISP_E_BADVARTYPE;
  VARIANT value;
  if (const HRESULT result = look_at(*from, value); FAILED(result)) return result;
  if (value.vt == type) return VariantCopyInd(to, from);
  VARIANT changed{};
  changed.vt = type;
  const HRESULT result = convert(value, flags, changed);
  return FAILED(result) ? result : replace(*to, changed);
}
