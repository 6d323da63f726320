// What the library throws when a connection's ExceptionHandlingPolicy asks for it.
#pragma once

#include <exception>
#include <string>

#include "kestrine/component.h"
#include "kestrine/export.h"
#include "kestrine/pointer.h"
#include "kestrine/text.h"

// Carries the status code of the failed operation and the error information that was set for it.
class KESTRINE_HOST_API _com_error : public std::exception {
 public:
  explicit _com_error(HRESULT code, kestrine::Pointer<IErrorInfo> info = {}) : code_(code), info_(std::move(info)) {}

  HRESULT Error() const { return code_; }
  kestrine::Pointer<IErrorInfo> ErrorInfo() const { return info_; }
  std::u16string Description() const { return text(&IErrorInfo::GetDescription); }
  std::u16string Source() const { return text(&IErrorInfo::GetSource); }
  const char* what() const noexcept override;

 private:
  std::u16string text(HRESULT (IErrorInfo::*getter)(BSTR*)) const {
    kestrine::Text value;
    if (!info_ || FAILED((info_.get()->*getter)(value.put()))) return {};
    return std::u16string(value.view());
  }

  HRESULT code_;
  kestrine::Pointer<IErrorInfo> info_;
};
