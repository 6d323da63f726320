#include "sync/operations.h"

#include "commands/build_request.h"
#include "commands/mode_check.h"
#include "kestrine/pointer.h"
#include "kestrine/records.h"
#include "kestrine/wire.h"
#include "protocol/errors.h"
#include "sync/outputs.h"

namespace kestrine::sync {
namespace {

using commands::Argument, commands::Family, commands::MethodRow, commands::ParamType, commands::Source;
using transport::CLTConnectBase;

bool needs_result(const MethodRow& row) {
  return row.family == Family::kStationaryPoint || row.family == Family::kStationaryProbe ||
         row.family == Family::kGoAndMeasure;
}

CLTConnectBase::Buffer source_buffer(const MethodRow& row, CLTConnectBase& connection) {
  switch (row.source) {
    case Source::kMeasurement:
      return connection.buffer_for(VL_DT_SingleMeasResult);
    case Source::kTiltra:
      return connection.buffer_for(VL_DT_TiltraResult);
    case Source::kAnswer:
    case Source::kNone:
      break;
  }
  return connection.buffer_for(VL_DT_Command);
}

}  // namespace

HRESULT CLTCommandSyncBase::perform(int dispid, Argument* arguments) {
  const MethodRow& row = commands::sync_methods()[static_cast<std::size_t>(dispid) - 1];
  if (!has_all_outputs(row, arguments)) return E_POINTER;
  if (row.family == Family::kProperty) return put_UseIncreasedTimeouts(arguments[0].boolean);

  // A handler that runs during the wait may drop the last reference to either object.
  const Pointer<IUnknown> keep_this(unknown());
  const Pointer<IUnknown> keep_connection(slots.connection == nullptr ? nullptr : slots.connection->unknown());
  if (const protocol::Error* misfit = commands::find_mode_misfit(row, slots.connection)) return refuse(*misfit, false);
  if (slots.connection != nullptr) slots.ReleaseUnusedCommandObjects(*slots.connection, false);
  if (IsAnswerPending()) return refuse_pending(row);
  if (row.family == Family::kMove) speeds_.step(row);

  const protocol::Request request = commands::build_request(row, arguments, speeds_);
  if (row.family != Family::kSendOnly) begin_call();
  if (const HRESULT result = send(row.command, request.bytes.data(), request.size); FAILED(result)) return result;
  if (row.family == Family::kSendOnly) return S_OK;
  return wait_and_finish(row, arguments, *slots.connection);
}

// While another call waits, the incremental moves give up in silence unless timeouts are increased.
HRESULT CLTCommandSyncBase::refuse_pending(const MethodRow& row) {
  if (row.family == Family::kMove && !increased_timeouts()) return S_FALSE;
  const bool throws =
      row.family == Family::kSendOnly && slots.connection != nullptr && slots.connection->exception_policy;
  return refuse(protocol::error::kPendingAnswer, throws);
}

std::int32_t CLTCommandSyncBase::timeout_of(const MethodRow& row, const CLTConnectBase& connection) const {
  return timeouts_[row.wait] + (row.adds_measure_time ? connection.stationary_measure_time : 0);
}

HRESULT CLTCommandSyncBase::wait_and_finish(const MethodRow& row, Argument* arguments, CLTConnectBase& connection) {
  after_send(row, connection);
  const std::uint32_t results_before = connection.stationary_results;
  wait_for_answer(row.command, timeout_of(row, connection), needs_result(row));
  // Whatever else ended the wait, an old result is never handed out as a new one.
  if (needs_result(row) && last_result_status() == VL_RS_AllOK && connection.stationary_results == results_before) {
    set_last_result_status(VL_RS_Unknown);
  }

  const CLTConnectBase::Buffer source = source_buffer(row, connection);
  const bool only_good = row.family == Family::kStationaryPoint || row.family == Family::kGoAndMeasure;
  if (!only_good || last_result_status() == VL_RS_AllOK) {
    if (only_good && !connection.suppress_statistic_mode_errors &&
        wire::load_i32(source.bytes + 4) != row.result_type) {
      return refuse(protocol::error::kStatisticMode, false);
    }
    write_outputs(row, source.bytes, arguments);
  }
  if (row.family == Family::kStillImage) {
    auto* image = static_cast<VARIANT*>(arguments[row.params.size() - 1].out);
    if (!write_image(source.bytes, source.capacity, *image)) return refuse(protocol::error::kByteArray, false);
  }
  const HRESULT result = FinishSyncCall(row.command, false);
  if (SUCCEEDED(result)) mirror(row, arguments, connection);
  return result;
}

void CLTCommandSyncBase::after_send(const MethodRow& row, CLTConnectBase& connection) {
  if (row.family == Family::kStationaryPoint || row.family == Family::kStationaryProbe) {
    connection.start_measurement_acknowledged = false;
  }
  if (row.family == Family::kMove) speeds_.sent(row);
}

// What the connection remembers of the server, once the server has taken it.
void CLTCommandSyncBase::mirror(const MethodRow& row, const Argument* arguments, CLTConnectBase& connection) {
  if (row.family == Family::kSetMeasurementMode) connection.measurement_mode = arguments[0].i32;
  if (row.family == Family::kSetStationaryTime) {
    const bool is_record = row.params[0].type == ParamType::kRecord;
    connection.stationary_measure_time =
        is_record ? static_cast<const StationaryModeDataT*>(arguments[0].record)->lMeasTime : arguments[0].i32;
  }
}

}  // namespace kestrine::sync
