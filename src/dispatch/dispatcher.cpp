#include "dispatch/dispatcher.h"

#include <algorithm>
#include <array>

#include "dispatch/generation.h"
#include "kestrine/enums.h"
#include "kestrine/pointer.h"
#include "kestrine/wire.h"
#include "platform/notices.h"
#include "protocol/event_numbers.h"

namespace kestrine::dispatch {
namespace {

using PendingResult = connection::PendingRequests::Result;
using connection::Connection, connection::PendingRequests, connection::ReceivedPacket, connection::kSizeOffset,
    connection::kTypeOffset;

// Offsets that every packet of the kind shares.
constexpr std::int32_t kStatusOffset = 8;         // of measurement packets; the change of a status change
constexpr std::int32_t kCommandOffset = 8;        // of answers and error packets
constexpr std::int32_t kAnswerStatusOffset = 12;  // of answers and error packets
constexpr std::int32_t kMeasModeOffset = 12;      // of measurement results

std::int32_t word(const std::uint8_t* packet, std::int32_t offset) {
  return wire::load_i32(packet + offset);
}

// Of the call that waits, whichever command it sent; the timer of `command` is stopped.
void end_wait(SyncCommands& sync, std::int32_t command, std::int32_t status) {
  sync.set_call_status(status);
  sync.end_wait(command);
}

IUnknown* unknown_of(CommandObject* object) {
  return object == nullptr ? nullptr : object->unknown();
}

// The event with that identifier on the object's side, its arguments from the packet.
void fire(CommandObject& object, std::int32_t dispid, const std::uint8_t* packet) {
  const auto events = object.command_set == CommandSet::kSync ? protocol::sync_events() : protocol::async_events();
  object.event_source().fire(events[static_cast<std::size_t>(dispid) - 1], packet);
}

// To one sink. A refused start is an error first.
bool can_be_two_events(std::int32_t command) {
  if (command == VL_C_StartMeasurement) return true;
  const protocol::CommandRow* row = protocol::find_command(command);
  return row != nullptr && row->async_event2 != nullptr;
}

// The two command objects in use now, kept alive: a handler may drop the last reference to either, or put another one
// in its place.
struct HeldObjects {
  explicit HeldObjects(const CommandRoster& objects)
      : sync(objects.sync()), async(objects.async()), keep_sync(unknown_of(sync)), keep_async(unknown_of(async)) {}

  SyncCommands* sync;
  AsyncCommands* async;
  Pointer<IUnknown> keep_sync;
  Pointer<IUnknown> keep_async;
};

}  // namespace

void fire_status_change(CommandObject& object, std::int32_t change) {
  const bool sync = object.command_set == CommandSet::kSync;
  object.event_source().fire(sync ? protocol::sync_event::StatusChangeEvent : protocol::async_event::StatusChangeEvent,
                             {change});
}

void Dispatcher::on_packet(Connection& connection, const ReceivedPacket& received, platform::WindowHandle window) {
  const HeldObjects held(generation_.objects());
  const std::uint8_t* const packet = received.bytes;
  Delivery delivery{connection,
                    packet,
                    connection.is_used_by(CommandSet::kSync) ? held.sync : nullptr,
                    object_in_trouble(connection),
                    connection.fires_events_to(CommandSet::kSync) ? held.sync : nullptr,
                    connection.fires_events_to(CommandSet::kAsync) ? held.async : nullptr};
  // A received packet has its header at the least.
  const std::int32_t type = word(packet, kTypeOffset);
  if (received.length > received.capacity || received.length <= 0 || received.length != word(packet, kSizeOffset) ||
      type < VL_DT_Command || type > VL_DT_ProbePosResult) {
    return on_malformed(delivery, type);
  }

  // Whatever lies at the place of an answer's status: the mode of a measurement, what follows a status change.
  connection.set_last_result_status(word(packet, kAnswerStatusOffset));

  // A handler may start a call whose answer lands in the same buffer; the sinks that are called after it must still
  // get this packet. Some answers are two events to one sink. No event reads further than a small buffer.
  std::array<std::uint8_t, connection::kSmallBuffer> snapshot;
  const std::size_t sinks = (delivery.sync == nullptr ? 0 : delivery.sync->event_source().sink_count()) +
                            (delivery.async == nullptr ? 0 : delivery.async->event_source().sink_count());
  if (sinks > 1 || (sinks == 1 && type == VL_DT_Command && can_be_two_events(word(packet, kCommandOffset)))) {
    std::copy_n(packet, snapshot.size(), snapshot.begin());
    delivery.packet = snapshot.data();
  }
  const connection::Notification notification = connection.notification();  // a handler may choose another one
  deliver(delivery, type);
  notification.send_message(received, window);
}

// Under another notification method than events such trouble ends no wait, only answers, results and a stream out of
// step do: kept, in classic.
SyncCommands* Dispatcher::object_in_trouble(const Connection& connection) const {
  const bool released = connection.rules().trouble_always_ends_waits || connection.fires_events_to(CommandSet::kSync);
  return released && connection.is_used_by(CommandSet::kSync) ? generation_.objects().sync() : nullptr;
}

bool Dispatcher::ends_wait(const Delivery& delivery, PendingRequests::Ticket request) const {
  if (delivery.waiting == nullptr || !delivery.waiting->is_answer_pending()) return false;
  return !delivery.connection.rules().waits_for_own_answer ||
         (request != 0 && request == delivery.waiting->awaited_request());
}

void Dispatcher::on_out_of_step() {
  if (SyncCommands* const sync = generation_.objects().sync()) sync->release_wait();
}

void Dispatcher::on_closed(Connection& connection) {
  if (!connection.link().mark_ended()) return;
  const CommandRoster& objects = generation_.objects();
  if (SyncCommands* const sync = object_in_trouble(connection)) sync->cancel_wait();
  if (connection.fires_events_to(CommandSet::kSync) && objects.sync() != nullptr) {
    fire_status_change(*objects.sync(), VL_SSC_ServerClosing);
  }
  if (connection.fires_events_to(CommandSet::kAsync) && objects.async() != nullptr) {
    fire_status_change(*objects.async(), VL_SSC_ServerClosing);
  }
}

void Dispatcher::on_timer(Connection& connection) {
  if (SyncCommands* const sync = object_in_trouble(connection)) sync->time_out();
}

bool Dispatcher::on_flush() {
  SyncCommands* const sync = generation_.objects().sync();
  if (sync != nullptr) sync->fire_deferred_events();
  return sync != nullptr;
}

void Dispatcher::deliver(const Delivery& delivery, std::int32_t type) {
  using namespace protocol;
  switch (type) {
    case VL_DT_Command:
      return on_answer(delivery);
    case VL_DT_Error:
      return on_error(delivery);
    case VL_DT_SingleMeasResult:
      return on_single_point(delivery, false);
    case VL_DT_SingleMeasResult2:
      return on_single_point(delivery, true);
    case VL_DT_StationaryProbeMeasResult:
      return on_probe_result(delivery);
    case VL_DT_TiltraResult:
      return on_tiltra_result(delivery);
    case VL_DT_SystemStatusChange:
      return on_status_change(delivery);
    case VL_DT_MultiMeasResult:
    case VL_DT_MultiMeasResult2:
      return on_data(delivery, sync_event::ContinuousPointMeasDataReady, async_event::ContinuousPointMeasDataReady);
    case VL_DT_ContinuousProbeMeasResult:
      return on_data(delivery, sync_event::ContinuousProbeMeasDataReady, async_event::ContinuousProbeMeasDataReady);
    case VL_DT_ReflectorPosResult:
      return on_data(delivery, sync_event::ReflectorPositionData, async_event::ReflectorPositionData);
    case VL_DT_ProbePosResult:
      return on_data(delivery, sync_event::ProbePositionData, async_event::ProbePositionData);
    default:
      return;
  }
}

void Dispatcher::on_malformed(const Delivery& delivery, std::int32_t type) {
  if (type >= 1000) return;
  if (delivery.troubled != nullptr) delivery.troubled->release_wait();
  platform::beep(4000, 100);
}

// Counted and announced, without a test of their status; the application fetches the bytes itself.
void Dispatcher::on_data(const Delivery& delivery, std::int32_t sync_event, std::int32_t async_event) {
  if (delivery.sync != nullptr) fire(*delivery.sync, sync_event, delivery.packet);
  if (delivery.async != nullptr) fire(*delivery.async, async_event, delivery.packet);
}

// --- Answers and errors

void Dispatcher::on_answer(const Delivery& delivery) {
  const std::int32_t command = word(delivery.packet, kCommandOffset);
  const std::int32_t status = word(delivery.packet, kAnswerStatusOffset);
  end_wait_by_answer(delivery, command, status);
  fire_answer_events(delivery, command, status);
}

void Dispatcher::end_wait_by_answer(const Delivery& delivery, std::int32_t command, std::int32_t status) {
  Connection& connection = delivery.connection;
  const bool good = status == VL_RS_AllOK;
  const bool ends = ends_wait(delivery, connection.requests().take_answer(command, good));
  if (good && command == VL_C_StopMeasurement) connection.requests().end_measurements();
  if (delivery.waiting == nullptr) return;
  SyncCommands& sync = *delivery.waiting;
  if (connection.rules().waits_for_own_answer) {
    // Of what a result ends, the answer is but the acknowledgement.
    if (ends && !(good && sync.awaits_result())) end_wait(sync, command, status);
  } else {
    // The acknowledgement of a stationary measurement does not end that measurement's own wait; the result does.
    // The status is left alone, too, or a wait that ran out would look like a success. The acknowledged flag is not
    // enough: it stays clear after a measurement that nobody acknowledged, and other calls must end all the same.
    const bool measures = sync.is_awaiting_result(command) &&
                          (command != VL_C_StartMeasurement || !connection.measurement().is_start_acknowledged());
    if (!measures || !good) end_wait(sync, command, status);
  }
  if (command != VL_C_StartMeasurement) return;
  const bool was_acknowledged = connection.measurement().acknowledge_start();
  if (good || !was_acknowledged) return;
  sync.report_status(command);
  if (delivery.sync != nullptr) sync.event_source().fire(protocol::sync_event::ErrorEvent, {command, status});
}

void Dispatcher::fire_answer_events(const Delivery& delivery, std::int32_t command, std::int32_t status) {
  const protocol::CommandRow* row = protocol::find_command(command);
  if (row == nullptr || row->answer == nullptr) return;
  if (delivery.sync != nullptr && row->sync_event != nullptr) {
    if (!row->status_tested || is_good_or_reported(command, status)) {
      delivery.sync->event_source().fire(*row->sync_event, delivery.packet);
    }
  }
  if (delivery.async == nullptr) return;
  if (row->async_event == nullptr) {
    if (is_good_or_reported(command, status)) {
      delivery.async->event_source().fire(protocol::async_event::CommandCompletedData, {command});
    }
    return;
  }
  const bool good = !row->status_tested || is_good_or_reported(command, status);
  if (good) delivery.async->event_source().fire(*row->async_event, delivery.packet);
  if (row->async_event2 == nullptr) return;
  // Two names for one answer: a bad status is reported once, or once for each, as the row has it.
  const bool second = row->status_tested_twice ? is_good_or_reported(command, status) : good;
  if (second) delivery.async->event_source().fire(*row->async_event2, delivery.packet);
}

bool Dispatcher::is_good_or_reported(std::int32_t command, std::int32_t status) {
  if (status == VL_RS_AllOK) return true;
  report_bad_answer(command, status);
  return false;
}

// Error information and event are the asynchronous object's, also for answers whose status is tested for the
// synchronous one.
void Dispatcher::report_bad_answer(std::int32_t command, std::int32_t status) {
  AsyncCommands* const async = generation_.objects().async();
  if (async == nullptr) return;
  const Pointer<IUnknown> keep(async->unknown());
  async->clear_blocked_speeds(command, status);
  generation_.errors().report_async_answer(command, status);
  async->event_source().fire(protocol::async_event::ErrorEvent, {command, status});
}

void Dispatcher::on_error(const Delivery& delivery) {
  const std::int32_t command = word(delivery.packet, kCommandOffset);
  const std::int32_t status = word(delivery.packet, kAnswerStatusOffset);
  const bool names_call = ends_wait(delivery, delivery.connection.requests().take_error(command));
  if (delivery.troubled != nullptr &&
      (names_call || command == VL_C_Unknown || !delivery.connection.rules().waits_for_own_answer)) {
    delivery.troubled->set_call_status(status);
    if (command == VL_C_Unknown) {
      delivery.connection.requests().drop(delivery.troubled->awaited_request());  // it comes in the answer's stead
      delivery.troubled->report_status(command);
      if (delivery.sync != nullptr) {
        delivery.sync->event_source().fire(protocol::sync_event::ErrorEvent, {command, status});
      }
    }
    // The command's timer runs on and may end a later call's wait.
    delivery.troubled->release_wait();
  }
  if (delivery.async != nullptr) report_bad_answer(command, status);  // also for status 0
}

// --- Measurement results

bool Dispatcher::end_wait_by_result(const Delivery& delivery, PendingResult result, std::int32_t command) {
  const bool ends = ends_wait(delivery, delivery.connection.requests().take_result(result));
  if (ends) end_wait(*delivery.waiting, command, word(delivery.packet, kStatusOffset));
  return ends;
}

void Dispatcher::on_single_point(const Delivery& delivery, bool extended) {
  const std::int32_t status = word(delivery.packet, kStatusOffset);
  Connection& connection = delivery.connection;
  connection.measurement().on_result();
  const bool starts = delivery.waiting != nullptr && delivery.waiting->is_awaiting_answer(VL_C_StartMeasurement);
  const bool consumed =
      end_wait_by_result(delivery, PendingResult::kMeasurement, starts ? VL_C_StartMeasurement : VL_C_GoAndMeasure);

  using namespace protocol;
  const bool stationary = connection.measurement().is_stationary_point_mode();
  const std::int32_t sync_id =
      stationary ? (extended ? sync_event::StationaryPoint2MeasData : sync_event::StationaryPointMeasData)
                 : (extended ? sync_event::CenterPoint2Data : sync_event::CenterPointData);
  const std::int32_t async_id =
      stationary ? (extended ? async_event::StationaryPoint2MeasData : async_event::StationaryPointMeasData)
                 : (extended ? async_event::CenterPoint2Data : async_event::CenterPointData);
  if (delivery.sync != nullptr && !(stationary && consumed)) fire(*delivery.sync, sync_id, delivery.packet);
  if (delivery.async != nullptr && is_good_or_reported(VL_C_StartMeasurement, status)) {
    fire(*delivery.async, async_id, delivery.packet);
  }
}

// The two interfaces treat a 6D stationary result differently: the asynchronous one fires it as a stationary
// measurement, the synchronous one does not fire it at all.
void Dispatcher::on_probe_result(const Delivery& delivery) {
  const std::int32_t status = word(delivery.packet, kStatusOffset);
  const std::int32_t mode = word(delivery.packet, kMeasModeOffset);
  Connection& connection = delivery.connection;
  connection.measurement().on_result();
  connection.measurement().set_legacy_stationary(mode == VL_MM_Standard);
  end_wait_by_result(delivery, PendingResult::kMeasurement, VL_C_StartMeasurement);

  using namespace protocol;
  const bool standard = mode == VL_MM_Standard;
  const bool is_6d = mode == VL_MM_6DStationary;
  if (delivery.sync != nullptr) {
    if (standard) {
      if (is_good_or_reported(VL_C_StartMeasurement, status)) {
        fire(*delivery.sync, sync_event::StationaryProbeMeasData, delivery.packet);
      }
    } else if (!is_6d) {
      fire(*delivery.sync, sync_event::CenterPointProbeData, delivery.packet);
    }
  }
  if (delivery.async != nullptr && is_good_or_reported(VL_C_StartMeasurement, status)) {
    fire(*delivery.async, standard || is_6d ? async_event::StationaryProbeMeasData : async_event::CenterPointProbeData,
         delivery.packet);
  }
}

void Dispatcher::on_tiltra_result(const Delivery& delivery) {
  const std::int32_t status = word(delivery.packet, kStatusOffset);
  end_wait_by_result(delivery, PendingResult::kTiltra, VL_C_StartTiltraMeasurement);
  if (delivery.async != nullptr && is_good_or_reported(VL_C_StartTiltraMeasurement, status)) {
    fire(*delivery.async, protocol::async_event::TiltraMeasurementData, delivery.packet);
  }
}

// --- Status changes

void Dispatcher::on_status_change(const Delivery& delivery) {
  const std::int32_t change = word(delivery.packet, kStatusOffset);
  const bool closing = change == VL_SSC_TPConnectionClosing || change == VL_SSC_ServerClosing;
  if (closing && delivery.troubled != nullptr) delivery.troubled->cancel_wait();
  if (delivery.sync != nullptr) {
    if (delivery.sync->must_defer(change)) {
      delivery.sync->defer_status_change(change);
    } else {
      fire_status_change(*delivery.sync, change);
      if (change == VL_SSC_ServerClosing) delivery.connection.link().mark_ended();
    }
  }
  if (delivery.async != nullptr) {
    fire_status_change(*delivery.async, change);
    if (change == VL_SSC_ServerClosing) delivery.connection.link().mark_ended();
  }
}

}  // namespace kestrine::dispatch
