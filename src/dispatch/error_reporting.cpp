#include "dispatch/error_reporting.h"

#include "component_types/error_info.h"
#include "dispatch/generation.h"
#include "kestrine/com_error.h"
#include "kestrine/enums.h"
#include "kestrine/pointer.h"
#include "protocol/event_numbers.h"
#include "protocol/texts.h"

namespace kestrine::dispatch {
namespace {

// A warning has a text of its own; anything else is reported in full.
std::u16string_view text_of(std::int32_t status, std::u16string_view report) {
  const std::int32_t warning = protocol::warning_row(status);
  return warning != 0 ? protocol::table_text(warning) : report;
}

}  // namespace

HRESULT ErrorReporting::raise(connection::Connection* connection, std::u16string_view text, const IID& iid,
                              HRESULT code, bool throws, std::int32_t number) {
  // A handler may drop the last reference to the connection, and the other interface's event is still to come.
  const Pointer<IUnknown> keep(connection == nullptr ? nullptr : connection->unknown());
  const CommandRoster& objects = generation_.objects();
  // The events come first: a handler still sees the previous error information.
  if (connection != nullptr && connection->fires_events_to(CommandSet::kSync) && objects.sync() != nullptr) {
    objects.sync()->event_source().fire(protocol::sync_event::ExceptionEvent, {number, text});
  }
  if (connection != nullptr && connection->fires_events_to(CommandSet::kAsync) && objects.async() != nullptr) {
    objects.async()->event_source().fire(protocol::async_event::ExceptionEvent, {number, text});
  }
  // The source is the connection's also where the interface is a command object's: kept.
  const auto info = component_types::set_error_info(text, generation_.identity().connect_source, iid, number);
  if (throws) throw _com_error(code, info);
  return code;
}

HRESULT ErrorReporting::raise(connection::Connection* connection, const protocol::Error& failure, const IID& iid,
                              HRESULT code, bool throws) {
  return raise(connection, protocol::table_text(failure.row), iid, code, throws, failure.number);
}

void ErrorReporting::report_async_answer(std::int32_t command, std::int32_t status) {
  if (status == VL_RS_AllOK) return;
  const Identity& identity = generation_.identity();
  component_types::set_error_info(text_of(status, protocol::bad_answer_text(command, status)), identity.async_source,
                                  identity.async, status);
}

void ErrorReporting::report_sync_status(std::int32_t status, std::u16string_view text) {
  const Identity& identity = generation_.identity();
  component_types::set_error_info(text_of(status, text), identity.sync_source, identity.sync, status);
}

}  // namespace kestrine::dispatch
