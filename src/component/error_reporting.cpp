#include "component/error_reporting.h"

#include "component_types/error_info.h"
#include "kestrine/com_error.h"
#include "kestrine/enums.h"
#include "kestrine/pointer.h"
#include "protocol/report.h"
#include "protocol/texts.h"
#include "transport/connection.h"

namespace kestrine::component {

HRESULT ErrorReporting::RaiseError(transport::CLTConnectBase* connection, std::u16string_view text, const IID& iid,
                                   HRESULT code, bool throws, std::int32_t number) {
  // A handler may drop the last reference to the connection, and the other interface's event is still to come.
  const Pointer<IUnknown> keep(connection == nullptr ? nullptr : connection->unknown());
  // The events come first: a handler still sees the previous error information.
  if (connection != nullptr && connection->fires_sync_events() && slots_.current_sync != nullptr) {
    slots_.current_sync->event_source().Fire_ExceptionEvent(number, std::u16string(text).c_str());
  }
  if (connection != nullptr && connection->fires_async_events() && slots_.current_async != nullptr) {
    slots_.current_async->event_source().Fire_ExceptionEvent(number, std::u16string(text).c_str());
  }
  const auto info = component_types::set_error_info(text, slots_.identity.connect_source, iid, number);
  if (throws) throw _com_error(code, info);
  return code;
}

HRESULT ErrorReporting::RaiseErrorFromResource(transport::CLTConnectBase* connection, std::int32_t row, const IID& iid,
                                               HRESULT code, bool throws, std::int32_t number) {
  return RaiseError(connection, protocol::LoadStringResource(row), iid, code, throws, number);
}

HRESULT ErrorReporting::ReportAsyncAnswerError(transport::AsyncCommands& object, std::int32_t command,
                                               std::int32_t status) {
  if (status == VL_RS_AllOK) return S_OK;
  if (command == VL_C_MoveHV || command == VL_C_Unknown) {
    if (status == protocol::kVerticalLimitStatus) object.clear_vertical_speed();
    if (status == protocol::kHorizontalLimitStatus) object.clear_horizontal_speed();
  }
  const std::int32_t warning = protocol::StatusToWarningRow(status);
  const std::u16string report = protocol::answer_report(command, status);
  set_error_information(warning != 0 ? protocol::LoadStringResource(warning) : report, slots_.identity.async_source,
                        slots_.identity.async, status);
  return S_FALSE;
}

void ErrorReporting::set_error_information(std::u16string_view text, std::u16string_view source, const IID& iid,
                                           std::int32_t number) {
  component_types::set_error_info(text, source, iid, number);
}

}  // namespace kestrine::component
