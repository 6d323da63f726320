// The one place where a failure becomes an event, error information, a status code and perhaps an exception.
#pragma once

#include <cstdint>
#include <string_view>

#include "transport/slots.h"

namespace kestrine::component {

class ErrorReporting final : public transport::ErrorReporter {
 public:
  explicit ErrorReporting(transport::Slots& slots) : slots_(slots) {}

  HRESULT RaiseError(transport::CLTConnectBase* connection, std::u16string_view text, const IID& iid, HRESULT code,
                     bool throws, std::int32_t number) override;
  HRESULT RaiseErrorFromResource(transport::CLTConnectBase* connection, std::int32_t row, const IID& iid, HRESULT code,
                                 bool throws, std::int32_t number) override;
  HRESULT ReportAsyncAnswerError(transport::AsyncCommands& object, std::int32_t command, std::int32_t status) override;
  void set_error_information(std::u16string_view text, std::u16string_view source, const IID& iid,
                             std::int32_t number) override;

 private:
  transport::Slots& slots_;
};

}  // namespace kestrine::component
