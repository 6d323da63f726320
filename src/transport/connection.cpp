#include "transport/connection.h"

#include <optional>
#include <string>

#include "data/byte_array.h"
#include "data/packet_access.h"
#include "data/version.h"
#include "kestrine/error.h"
#include "kestrine/host.h"
#include "kestrine/pointer.h"
#include "platform/clock.h"
#include "platform/loop.h"
#include "platform/notices.h"
#include "platform/version.h"
#include "transport/command_sender.h"
#include "transport/message_sink.h"
#include "transport/settings.h"

namespace kestrine::transport {
namespace {

constexpr std::uint16_t kSocketsVersion = 0x0101;
constexpr std::int32_t kReceiveBufferBytes = 256 * 1024;  // large continuous blocks in few notifications
constexpr std::int32_t kConnectStep = 100;                // milliseconds between two looks at a pending connect

// A name with a dot anywhere is taken as a dotted address and never looked up, not even a full host name.
std::optional<platform::AddressWord> find_address(const std::string& name) {
  if (name.find('.') != std::string::npos) return platform::parse_dotted_address(name);
  return platform::resolve_host_name(name);
}

}  // namespace

CLTConnectBase::CLTConnectBase(Slots& generation_slots) : slots(generation_slots) {
  slots.connection = this;
  slots.ClaimInterfaceGeneration();
  suppress_statistic_mode_errors = settings::suppress_statistic_mode_errors();
  const data::Version own = data::library_version();
  version = own.packed();
  build_number = own.build;

  slots.message_sink = &adopt_sink(slots, *this);
  slots.transport = &adopt_sender(slots, *this);
  slots.release_internal_sync();  // those of an earlier connection, whose slots these were
  slots.release_internal_async();
  slots.creating_internally = true;
  slots.internal_sync = slots.factory->create_sync();
  slots.internal_async = slots.factory->create_async();
  slots.creating_internally = false;
}

CLTConnectBase::~CLTConnectBase() {
  if (connected) close_connection();
  slots.ReleaseUnusedCommandObjects(*this, true);
  forget_connection(slots, *this);
  if (slots.connection != this) return;  // a later connection has taken the slots over
  slots.connection = nullptr;
  // What an application still holds of these lives on by its own references.
  slots.release_internal_sync();
  slots.release_internal_async();
}

HRESULT CLTConnectBase::fail(const protocol::Error& failure, HRESULT code) {
  return slots.errors->RaiseErrorFromResource(this, failure.row, slots.identity.connect, code, exception_policy,
                                              failure.number);
}

HRESULT CLTConnectBase::hand_out(CommandObject* object, IUnknown** out, bool& present) {
  if (object == nullptr) return fail(protocol::error::kNoCommandObject);
  const HRESULT result = object->unknown()->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(out));
  if (FAILED(result)) return fail(protocol::error::kQueryInterface, result);
  present = true;
  return result;
}

HRESULT CLTConnectBase::get_ILTCommandSync(IUnknown** object) {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  slots.process.objects_not_yet_fetched = false;
  slots.current_sync = slots.internal_sync;
  return hand_out(slots.current_sync, object, sync_present);
}

HRESULT CLTConnectBase::get_ILTCommandAsync(IUnknown** object) {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  slots.process.objects_not_yet_fetched = false;
  slots.current_async = slots.internal_async;
  return hand_out(slots.current_async, object, async_present);
}

bool CLTConnectBase::is_sink_alive() const {
  return slots.transport != nullptr && slots.message_sink != nullptr &&
         platform::is_window(slots.message_sink->window());
}

HRESULT CLTConnectBase::ConnectEmbeddedSystem(BSTR address, std::int32_t port) {
  if (platform::is_legacy_non_unicode_system()) {
    platform::show_message_box(u"UNICODE not supported for Windows 98/ME. Use ANSI version of Kestrine DLL.", u"",
                               platform::kIconStop);
    return S_FALSE;
  }
  if (connected) return fail(protocol::error::kAlreadyConnected);
  if (!is_sink_alive()) return fail(protocol::error::kNoSink);
  // Counted once per attempt; a failure further down keeps the count.
  if (platform::socket_startup(kSocketsVersion) != 0) return fail(protocol::error::kSocketStartup);
  socket = platform::open_socket();
  if (socket == platform::kInvalidSocket) return fail(protocol::error::kInvalidSocket);

  const std::string name = address == nullptr ? std::string() : to_utf8({address, SysStringLen(address)});
  const auto found = find_address(name);
  if (!found) return fail_connect(protocol::error::kHostNotFound);
  if (!connect_socket(*found, static_cast<std::uint16_t>(port))) return fail_connect(protocol::error::kConnectFailed);

  // A result of -1 counts as success here; only a positive one is taken as a failure.
  if (platform::select_notifications(socket, slots.message_sink->window(), kSocketMessage,
                                     platform::kSocketReadable | platform::kSocketClosed) > 0) {
    return fail_connect(protocol::error::kNotificationFailed);
  }
  platform::set_receive_buffer(socket, kReceiveBufferBytes);
  slots.message_sink->start_stream();
  connected = true;
  link_alive = true;
  return S_OK;
}

bool CLTConnectBase::connect_socket(platform::AddressWord address, std::uint16_t port) {
  if (!settings::nonblocking_connect() || platform::set_non_blocking(socket, true) != 0) {
    return platform::connect_socket(socket, address, port) == 0;
  }
  const std::int32_t timeout = settings::connection_timeout();
  // Without a timeout nothing is attempted and the connection counts as made.
  if (timeout > 0 && !wait_for_connection(address, port, timeout)) return false;
  return platform::set_non_blocking(socket, false) == 0;
}

// The time spent in the calls themselves is not counted.
bool CLTConnectBase::wait_for_connection(platform::AddressWord address, std::uint16_t port, std::int32_t timeout) {
  for (std::int32_t elapsed = kConnectStep;; elapsed += kConnectStep) {
    if (platform::connect_socket(socket, address, port) == 0) return true;
    if (platform::last_socket_error() == platform::kErrorAlreadyConnected) return true;
    platform::sleep_ms(kConnectStep);
    std::uint8_t scratch[4];
    const bool not_connected = platform::receive(socket, scratch, sizeof scratch, true) == -1 &&
                               platform::last_socket_error() == platform::kErrorNotConnected;
    // Any other outcome of the look means that the connection stands.
    if (elapsed >= timeout) return !not_connected;
  }
}

// The handle stays in the field until the next attempt overwrites it.
HRESULT CLTConnectBase::fail_connect(const protocol::Error& failure) {
  platform::close_socket(socket);
  return fail(failure);
}

int CLTConnectBase::close_connection() {
  platform::select_notifications(socket, slots.message_sink->window(), 0, 0);
  const int result = platform::close_socket(socket);
  socket = 0;
  platform::socket_cleanup();
  connected = false;
  return result;
}

HRESULT CLTConnectBase::DisconnectEmbeddedSystem() {
  if (!connected) return S_OK;
  return close_connection() == 0 ? S_OK : fail(protocol::error::kCloseFailed);
}

HRESULT CLTConnectBase::SelectNotificationMethod(KR_NotifyMethod method, std::int32_t target_handle,
                                                 std::int32_t new_cookie) {
  if (target_handle != 0) return fail(protocol::error::kTargetHandle);
  notification = {method, new_cookie};  // any method: the unknown ones tell nothing, like KR_NM_None
  return S_OK;
}

void CLTConnectBase::notify_application(const Notification& way, const std::uint8_t* packet, std::int32_t bytes) const {
  const auto number = static_cast<std::uint32_t>(way.cookie);
  if (way.method == KR_NM_WM_CopyData) {
    const COPYDATASTRUCT record{number, static_cast<std::uint32_t>(bytes), packet};
    platform::send_to_host(WM_COPYDATA, slots.message_sink->window(), reinterpret_cast<std::intptr_t>(&record));
  } else if (way.method == KR_NM_WM_Notify) {
    platform::send_to_host(number, number, bytes);
  }
}

HRESULT CLTConnectBase::GetData(VARIANT* data) {
  if (data == nullptr) return E_POINTER;
  // A fresh array for every call: the caller destroys it when it likes.
  SAFEARRAY* array = data::make_byte_array(received_packet, received_length);
  if (array == nullptr) return fail(protocol::error::kByteArray);
  VariantInit(data);
  data->vt = VT_ARRAY | VT_UI1;
  data->parray = array;
  return S_OK;
}

HRESULT CLTConnectBase::StillImageGetFile(const VARIANT* packet, std::int32_t* size, VARIANT* file) {
  if (size == nullptr || file == nullptr) return E_POINTER;
  std::span<const std::uint8_t> image;
  if (const protocol::Error* failure = data::find_image(packet, image)) return fail(*failure);
  *size = static_cast<std::int32_t>(image.size());
  VariantInit(file);
  file->vt = VT_ARRAY | VT_UI1;  // also of an array that cannot be made
  file->parray = data::make_byte_array(image.data(), *size);
  return file->parray == nullptr ? fail(protocol::error::kByteArray) : S_OK;
}

CLTConnectBase::Buffer CLTConnectBase::buffer_for(std::int32_t data_type) {
  switch (data_type) {
    case VL_DT_Command:
      return {last_command_answer.data(), kLargeBuffer};
    case VL_DT_Error:
      return {last_error.data(), kSmallBuffer};
    case VL_DT_TiltraResult:
      return {last_tiltra.data(), kSmallBuffer};
    case VL_DT_ReflectorPosResult:
    case VL_DT_ProbePosResult:
      return {last_position.data(), kSmallBuffer};
    case VL_DT_SystemStatusChange:
      return {last_status_change.data(), kSmallBuffer};
    default:
      return {last_measurement.data(), kLargeBuffer};
  }
}

void CLTConnectBase::on_server_closed() {
  if (!link_alive) return;
  link_alive = false;
  if (fires_sync_events() && slots.current_sync != nullptr) {
    slots.current_sync->CancelPendingAnswer();
    slots.current_sync->event_source().Fire_StatusChangeEvent(VL_SSC_ServerClosing);
  }
  if (fires_async_events() && slots.current_async != nullptr) {
    slots.current_async->event_source().Fire_StatusChangeEvent(VL_SSC_ServerClosing);
  }
}

}  // namespace kestrine::transport
