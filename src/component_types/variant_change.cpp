#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <optional>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>

#include "component_types/variant_types.h"

namespace kestrine::component_types {
namespace {

// A number on its way from one type to another, in the widest form of its kind.
using Number = std::variant<std::int64_t, std::uint64_t, float, double>;

// Calls `use` with the member that holds the value of a numeric type. False for any other type.
template <class Variant, class Use>
bool use_number(Variant& value, Use use) {
  switch (value.vt) {
    case VT_I1:
      use(value.cVal);
      return true;
    case VT_I2:
      use(value.iVal);
      return true;
    case VT_I4:
    case VT_INT:
      use(value.lVal);
      return true;
    case VT_I8:
      use(value.llVal);
      return true;
    case VT_UI1:
      use(value.bVal);
      return true;
    case VT_UI2:
      use(value.uiVal);
      return true;
    case VT_UI4:
    case VT_UINT:
      use(value.ulVal);
      return true;
    case VT_UI8:
      use(value.ullVal);
      return true;
    case VT_R4:
      use(value.fltVal);
      return true;
    case VT_R8:
      use(value.dblVal);
      return true;
    default:
      return false;
  }
}

// A char is a number with a sign, whatever it is to the compiler.
template <class Member>
using NumberIn = std::conditional_t<std::is_same_v<Member, CHAR>, signed char, Member>;

std::optional<Number> number_in(const VARIANT& value) {
  if (value.vt == VT_EMPTY) return std::int64_t{0};
  if (value.vt == VT_BOOL) return std::int64_t{value.boolVal};
  Number number;
  const bool is_number = use_number(value, [&]<class Member>(Member member) {
    using Value = NumberIn<Member>;
    if constexpr (std::is_floating_point_v<Value>) {
      number = member;
    } else {
      number = static_cast<std::conditional_t<std::is_signed_v<Value>, std::int64_t, std::uint64_t>>(
          static_cast<Value>(member));
    }
  });
  return is_number ? std::optional(number) : std::nullopt;
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
  std::int64_t whole = 0;
  std::uint64_t large = 0;
  double real = 0;
  if (parse(text, whole) == std::errc()) return number = whole, S_OK;
  if (parse(text, large) == std::errc()) return number = large, S_OK;
  const std::errc error = parse(text, real);
  number = real;
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

template <class To, class From>
HRESULT store(From value, To& place) {
  using Limits = std::numeric_limits<NumberIn<To>>;
  if constexpr (std::is_integral_v<To> && std::is_integral_v<From>) {
    if (!std::in_range<NumberIn<To>>(value)) return DISP_E_OVERFLOW;
  } else if constexpr (std::is_integral_v<To>) {
    // The largest one plus one is a power of two, which a double holds exactly.
    const double beyond = std::ldexp(1.0, Limits::digits);
    const double rounded = round_half_even(value);
    if (!(rounded < beyond && rounded >= (Limits::is_signed ? -beyond : 0.0))) return DISP_E_OVERFLOW;
    place = static_cast<To>(rounded);
    return S_OK;
  } else if constexpr (std::is_same_v<To, float>) {
    const auto real = static_cast<double>(value);
    if (std::isfinite(real) && std::abs(real) > double{Limits::max()}) return DISP_E_OVERFLOW;
  }
  place = static_cast<To>(value);
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
  constexpr auto kGeneral = std::chars_format::general;
  constexpr int kSingleDigits = 7;
  constexpr int kDoubleDigits = 15;  // what survives the way to a text of this many digits and back
  std::array<char, 32> text;
  const auto write = [&, end = text.data() + text.size()](auto value) {
    if constexpr (std::is_integral_v<decltype(value)>) {
      return std::to_chars(text.data(), end, value).ptr;
    } else {
      constexpr int kDigits = std::is_same_v<decltype(value), float> ? kSingleDigits : kDoubleDigits;
      return std::to_chars(text.data(), end, double{value}, kGeneral, kDigits).ptr;
    }
  };
  return store_text(std::string_view(text.data(), std::visit(write, number)), to);
}

HRESULT store_number(const Number& number, VARIANT& to) {
  if (to.vt == VT_BSTR) return store_text(number, to);
  HRESULT result = S_OK;
  if (to.vt == VT_BOOL) {
    to.boolVal = std::visit([](auto value) { return value == 0; }, number) ? VARIANT_FALSE : VARIANT_TRUE;
    return S_OK;
  }
  const auto store_in = [&](auto& place) {
    result = std::visit([&](auto value) { return store(value, place); }, number);
  };
  return use_number(to, store_in) ? result : DISP_E_TYPEMISMATCH;
}

// An unsigned type takes the boolean's bits: true is the largest value.
HRESULT store_boolean(VARIANT_BOOL value, VARIANT& to) {
  bool stored = false;
  use_number(to, [&]<class Member>(Member& place) {
    if constexpr (std::is_unsigned_v<NumberIn<Member>>) {
      place = static_cast<Member>(value);
      stored = true;
    }
  });
  return stored ? S_OK : store_number(std::int64_t{value}, to);
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
    return store_boolean(from.boolVal, to);
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
  if (const HRESULT result = dereference(*from, value); FAILED(result)) return result;
  if (value.vt == type) return VariantCopyInd(to, from);
  VARIANT changed{};
  changed.vt = type;
  const HRESULT result = convert(value, flags, changed);
  return FAILED(result) ? result : replace(*to, changed);
}
