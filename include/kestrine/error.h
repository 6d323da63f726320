// Failures as C++ exceptions: check() turns a failed status code and the thread's error information into one.
#pragma once

#include <cstdint>
#include <exception>
#include <string>

#include "kestrine/component.h"
#include "kestrine/enums.h"
#include "kestrine/error_numbers.h"
#include "kestrine/pointer.h"
#include "kestrine/text.h"

// Error information made by the library also tells its number: one of its own (error_numbers.h) or the
// server's status.
struct IErrorNumber : IUnknown {
  virtual HRESULT GetNumber(std::int32_t* number) = 0;

 protected:
  ~IErrorNumber() = default;
};
inline constexpr IID IID_IErrorNumber = {0x5be0a6f1, 0x3c87, 0x4c2e, {0x9a, 0x41, 0x7d, 0x0b, 0x52, 0xe6, 0x1f, 0x38}};

namespace kestrine {

template <>
struct InterfaceId<IErrorNumber> : detail::IdentifiedBy<IID_IErrorNumber> {};

class Error : public std::exception {
 public:
  Error(HRESULT code, std::int32_t number, std::u16string text, std::u16string source)
      : code_(code), number_(number), text_(std::move(text)), source_(std::move(source)), what_(to_utf8(text_)) {}

  HRESULT code() const { return code_; }
  std::int32_t number() const { return number_; }  // 0 when the failure carried none
  const std::u16string& text() const { return text_; }
  const std::u16string& source() const { return source_; }  // such as "Kestrine.LTConnect.1"
  const char* what() const noexcept override { return what_.c_str(); }
  // The server's status, where the number is one; VL_RS_Unknown for a failure of the library's own.
  VL_ResultStatus status() const {
    const bool own = number_ <= 0 || number_ >= kFirstOwnNumber;
    return own ? VL_RS_Unknown : static_cast<VL_ResultStatus>(number_);
  }
  // Which command of which host has failed, where that is known: VL_C_Unknown and nothing otherwise.
  VL_Command command() const { return command_; }
  const std::string& host() const { return host_; }
  Error&& of(VL_Command command, std::string host) && {
    command_ = command;
    host_ = std::move(host);
    return std::move(*this);
  }

 private:
  static constexpr std::int32_t kFirstOwnNumber = 40001;

  HRESULT code_;
  std::int32_t number_;
  std::u16string text_;
  std::u16string source_;
  std::string what_;
  VL_Command command_ = VL_C_Unknown;
  std::string host_;
};

// The thread's error information, taken out of its slot, as an exception for `code`.
inline Error take_error(HRESULT code) {
  Pointer<IErrorInfo> info;
  if (GetErrorInfo(0, info.put()) != S_OK) return Error(code, 0, u"no error information", u"");
  Text description;
  Text source;
  info->GetDescription(description.put());
  info->GetSource(source.put());
  std::int32_t number = 0;
  if (const auto numbered = info.query<IErrorNumber>()) numbered->GetNumber(&number);
  return Error(code, number, std::u16string(description.view()), std::u16string(source.view()));
}

// Throws for a failed status code; warnings (S_FALSE) pass and are returned.
inline HRESULT check(HRESULT code) {
  if (FAILED(code)) throw take_error(code);
  return code;
}

}  // namespace kestrine
