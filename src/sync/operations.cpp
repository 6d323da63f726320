#include "sync/operations.h"

#include "kestrine/pointer.h"
#include "kestrine/wire.h"
#include "protocol/errors.h"
#include "protocol/measurement_mode.h"

namespace kestrine::sync {
namespace {

using commands::Argument;
using protocol::MemberRow, protocol::Mirror, protocol::Source, protocol::Speed;
using transport::CLTConnectBase;

CLTConnectBase::Buffer source_buffer(const MemberRow& row, CLTConnectBase& connection) {
  switch (row.source) {
    case Source::kMeasurement:
      return connection.buffer_for(VL_DT_SingleMeasResult);
    case Source::kTiltra:
      return connection.buffer_for(VL_DT_TiltraResult);
    case Source::kAnswer:
      break;
  }
  return connection.buffer_for(VL_DT_Command);
}

}  // namespace

HRESULT CLTCommandSyncBase::perform(int dispid, Argument* arguments) {
  const MemberRow& row = protocol::sync_methods()[static_cast<std::size_t>(dispid) - 1];
  if (!commands::has_all_outputs(row, arguments)) return E_POINTER;
  if (row.kind == protocol::MemberKind::kPut) {
    return put_UseIncreasedTimeouts(static_cast<VARIANT_BOOL>(arguments[0].i32));
  }

  // A handler that runs during the wait may drop the last reference to either object.
  const Pointer<IUnknown> keep_this(unknown());
  const Pointer<IUnknown> keep_connection(slots.connection == nullptr ? nullptr : slots.connection->unknown());
  if (slots.connection != nullptr) {
    const auto* const misfit =
        protocol::find_mode_misfit(row, slots.connection->measurement_mode, slots.connection->legacy_stationary_mode);
    if (misfit != nullptr) return refuse(*misfit, false);
    slots.ReleaseUnusedCommandObjects(*slots.connection, false);
  }
  if (IsAnswerPending()) return refuse_pending(row);
  speeds_.step(row.speed);

  const protocol::Request request = commands::build_request(row, arguments, speeds_);
  if (!row.sends_only) begin_call();
  if (const HRESULT result = send(row.command->code, request.bytes.data(), request.size); FAILED(result)) return result;
  if (row.sends_only) return S_OK;
  return wait_and_finish(row, request, arguments, *slots.connection);
}

// While another call waits, the incremental moves give up in silence unless timeouts are increased.
HRESULT CLTCommandSyncBase::refuse_pending(const MemberRow& row) {
  if (row.speed != Speed::kNone && !increased_timeouts()) return S_FALSE;
  const bool throws = row.sends_only && slots.connection != nullptr && slots.connection->exception_policy;
  return refuse(protocol::error::kPendingAnswer, throws);
}

std::int32_t CLTCommandSyncBase::timeout_of(const MemberRow& row, const CLTConnectBase& connection) const {
  return timeouts_[*row.wait] + (row.adds_measure_time ? connection.stationary_measure_time : 0);
}

HRESULT CLTCommandSyncBase::wait_and_finish(const MemberRow& row, const protocol::Request& request, Argument* arguments,
                                            CLTConnectBase& connection) {
  after_send(row, connection);
  const std::uint32_t results_before = connection.stationary_results;
  wait_for_answer(row.command->code, timeout_of(row, connection), row.waits_for_result);
  // Whatever else ended the wait, an old result is never handed out as a new one.
  if (row.waits_for_result && last_result_status() == VL_RS_AllOK && connection.stationary_results == results_before) {
    set_last_result_status(VL_RS_Unknown);
  }

  const CLTConnectBase::Buffer source = source_buffer(row, connection);
  if (!row.outputs_when_good || last_result_status() == VL_RS_AllOK) {
    if (row.result_type != -1 && !connection.suppress_statistic_mode_errors &&
        wire::load_i32(source.bytes + 4) != row.result_type) {
      return refuse(protocol::error::kStatisticMode, false);
    }
    if (!commands::write_outputs(row, source.bytes, source.capacity, arguments)) {
      return refuse(protocol::error::kByteArray, false);
    }
  }
  const HRESULT result = FinishSyncCall(row.command->code, false);
  if (SUCCEEDED(result)) mirror(row, request, connection);
  return result;
}

void CLTCommandSyncBase::after_send(const MemberRow& row, CLTConnectBase& connection) {
  if (row.waits_for_result && row.command->code == VL_C_StartMeasurement) {
    connection.start_measurement_acknowledged = false;
  }
  speeds_.sent(row.speed);
}

// What the connection remembers of the server, once the server has taken it.
void CLTCommandSyncBase::mirror(const MemberRow& row, const protocol::Request& request, CLTConnectBase& connection) {
  if (row.mirror == Mirror::kMeasurementMode) connection.measurement_mode = request.first_integer();
  if (row.mirror == Mirror::kStationaryTime) connection.stationary_measure_time = request.first_integer();
}

}  // namespace kestrine::sync
