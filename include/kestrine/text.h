// Texts on their way in and out of the interfaces.
#pragma once

#include <algorithm>
#include <cstdint>
#include <new>
#include <string>
#include <string_view>
#include <utility>

#include "kestrine/component.h"

namespace kestrine {

// UTF-8 of a UTF-16 text; an unpaired surrogate becomes U+FFFD.
inline std::string to_utf8(std::u16string_view text) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    std::uint32_t code = text[i];
    const bool high = code >= 0xD800 && code < 0xDC00;
    if (high && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] < 0xE000) {
      code = 0x10000 + ((code - 0xD800) << 10) + (text[++i] - 0xDC00u);
    } else if (code >= 0xD800 && code < 0xE000) {
      code = 0xFFFD;
    }
    constexpr std::uint32_t kLeads[] = {0, 0xC0, 0xE0, 0xF0};
    int more = code < 0x80 ? 0 : code < 0x800 ? 1 : code < 0x10000 ? 2 : 3;
    out.push_back(static_cast<char>(kLeads[more] | code >> 6 * more));
    while (more-- > 0) out.push_back(static_cast<char>(0x80 | (code >> 6 * more & 0x3F)));
  }
  return out;
}

// UTF-16 of a UTF-8 text; each byte that is out of place becomes U+FFFD.
inline std::u16string to_utf16(std::string_view text) {
  std::u16string out;
  for (std::size_t i = 0; i < text.size();) {
    const auto lead = static_cast<unsigned char>(text[i]);
    const std::size_t more = lead < 0x80 ? 0 : lead >> 5 == 6 ? 1 : lead >> 4 == 14 ? 2 : lead >> 3 == 30 ? 3 : 4;
    std::uint32_t code = more == 0 ? lead : lead & (0x3Fu >> more);
    std::size_t taken = 1;
    while (more < 4 && taken <= more && i + taken < text.size() && (text[i + taken] & 0xC0) == 0x80) {
      code = code << 6 | (static_cast<unsigned char>(text[i + taken++]) & 0x3F);
    }
    constexpr std::uint32_t kSmallest[] = {0, 0x80, 0x800, 0x10000};
    const bool good = more < 4 && taken == more + 1 && code >= kSmallest[more] && code < 0x110000 &&
                      !(code >= 0xD800 && code < 0xE000);
    if (!good) {
      code = 0xFFFD;
      taken = 1;
    }
    if (code >= 0x10000) {
      out.push_back(static_cast<char16_t>(0xD800 + ((code - 0x10000) >> 10)));
      code = 0xDC00 + ((code - 0x10000) & 0x3FF);
    }
    out.push_back(static_cast<char16_t>(code));
    i += taken;
  }
  return out;
}

namespace detail {

template <class One, class Other>
bool same_in_any_case(const One& one, const Other& other) {
  const auto lower = [](char16_t unit) { return unit >= u'A' && unit <= u'Z' ? unit + (u'a' - u'A') : unit + 0; };
  return std::ranges::equal(one, other, {}, lower, lower);
}

// Whether two names are the same in any case of letters, of which only those of ASCII have one here.
inline bool same_name(std::u16string_view one, std::u16string_view other) {
  return same_in_any_case(one, other);
}
inline bool same_name(std::u16string_view one, std::string_view other) {
  return same_in_any_case(one, other);
}
inline bool same_name(std::string_view one, std::string_view other) {
  return same_in_any_case(one, other);
}

}  // namespace detail

// Owns a text of the interfaces: pass it where a BSTR goes in, put() where one comes out.
class Text {
 public:
  Text() = default;
  explicit Text(std::u16string_view text) : text_(SysAllocStringLen(text.data(), static_cast<UINT>(text.size()))) {
    if (text_ == nullptr) throw std::bad_alloc();
  }
  explicit Text(std::string_view utf8) : Text(std::u16string_view(to_utf16(utf8))) {}
  explicit Text(const char* utf8) : Text(std::string_view(utf8)) {}
  Text(Text&& other) noexcept : text_(std::exchange(other.text_, nullptr)) {}
  Text& operator=(Text other) noexcept {
    std::swap(text_, other.text_);
    return *this;
  }
  ~Text() { SysFreeString(text_); }

  operator BSTR() const { return text_; }
  BSTR* put() {
    SysFreeString(std::exchange(text_, nullptr));
    return &text_;
  }
  std::u16string_view view() const { return {text_, SysStringLen(text_)}; }
  std::string utf8() const { return to_utf8(view()); }

 private:
  BSTR text_ = nullptr;
};

}  // namespace kestrine
