// The one place where a failure becomes an event, error information, a status code and perhaps an exception.
#pragma once

#include <cstdint>
#include <string_view>

#include "connection/connection.h"
#include "protocol/errors.h"

namespace kestrine::dispatch {

class Generation;

class ErrorReporting {
 public:
  explicit ErrorReporting(Generation& generation) : generation_(generation) {}

  // Fires the failure to those who use the connection (nobody when it is null), and leaves it as error information of
  // the interface. Returns `code`, or throws it when `throws` is set.
  HRESULT raise(connection::Connection* connection, std::u16string_view text, const IID& iid, HRESULT code, bool throws,
                std::int32_t number);
  HRESULT raise(connection::Connection* connection, const protocol::Error& failure, const IID& iid, HRESULT code,
                bool throws);
  // Error information alone, for an answer of the asynchronous object; nothing for a good one.
  void report_async_answer(std::int32_t command, std::int32_t status);
  // The same for a status of the synchronous object; a warning has its own text, any other status gets `text`.
  void report_sync_status(std::int32_t status, std::u16string_view text);

 private:
  Generation& generation_;
};

}  // namespace kestrine::dispatch
