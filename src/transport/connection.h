// The connection object: socket, receive buffers, remembered state of the server, behaviour switches.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "kestrine/component.h"
#include "kestrine/enums.h"
#include "platform/socket.h"
#include "protocol/errors.h"
#include "transport/slots.h"

namespace kestrine::transport {

// The largest packet of a kind is one byte shorter than its buffer.
inline constexpr std::int32_t kLargeBuffer = 131'072;
inline constexpr std::int32_t kSmallBuffer = 1'024;

// All state and logic of both generations' connection classes, which add their interface and nothing else.
class CLTConnectBase {
 public:
  explicit CLTConnectBase(Slots& slots);
  CLTConnectBase(const CLTConnectBase&) = delete;
  CLTConnectBase& operator=(const CLTConnectBase&) = delete;

  virtual IUnknown* unknown() = 0;

  // Properties and operations of ILTConnect.
  HRESULT get_ILTCommandSync(IUnknown** object);
  HRESULT get_ILTCommandAsync(IUnknown** object);
  HRESULT ConnectEmbeddedSystem(BSTR address, std::int32_t port);
  HRESULT DisconnectEmbeddedSystem();
  HRESULT SelectNotificationMethod(KR_NotifyMethod method, std::int32_t target_handle, std::int32_t cookie);
  HRESULT GetData(VARIANT* data);
  HRESULT StillImageGetFile(const VARIANT* packet, std::int32_t* size, VARIANT* file);

  // A failure of one of the connection's own operations.
  HRESULT fail(const protocol::Error& failure, HRESULT code = E_FAIL);

  // How packets are told, chosen at any time for those that come afterwards.
  struct Notification {
    KR_NotifyMethod method = KR_NM_Event;
    std::int32_t cookie = 0;
  };
  // The last step of a packet: tells the application by message, if that was its way when the packet came.
  void notify_application(const Notification& way, const std::uint8_t* packet, std::int32_t bytes) const;

  // The server has closed its end: announced once per connection.
  void on_server_closed();

  // The buffer for a data type, and its capacity.
  struct Buffer {
    std::uint8_t* bytes;
    std::int32_t capacity;
  };
  Buffer buffer_for(std::int32_t data_type);

  bool fires_sync_events() const { return sync_present && notification.method == KR_NM_Event; }
  bool fires_async_events() const { return async_present && notification.method == KR_NM_Event; }

  Slots& slots;

  platform::SocketHandle socket = 0;  // 0 when closed
  Notification notification;
  std::int32_t last_result_status = VL_RS_Unknown;
  std::int32_t measurement_mode = VL_MM_Stationary;  // as last set through this connection
  std::int32_t version = 0;                          // major number in the high half, minor in the low one
  std::int32_t build_number = 0;
  std::int32_t received_length = 0;
  const std::uint8_t* received_packet = nullptr;
  bool connected = false;
  std::int32_t stationary_measure_time = 1500;  // milliseconds, as last set through this connection
  bool sync_present = false;
  bool async_present = false;
  bool suppress_statistic_mode_errors = false;
  bool exception_policy = false;
  bool link_alive = true;
  // One flag for two things: the property sets it, every stationary probe result overwrites it.
  bool legacy_stationary_mode = false;
  bool start_measurement_acknowledged = true;
  // Stationary results seen so far: tells a new result from the one that still lies in the buffer.
  std::uint32_t stationary_results = 0;

  std::array<std::uint8_t, kLargeBuffer> last_measurement{};
  std::array<std::uint8_t, kSmallBuffer> last_status_change{};
  std::array<std::uint8_t, kLargeBuffer> last_command_answer{};
  std::array<std::uint8_t, kSmallBuffer> last_position{};
  std::array<std::uint8_t, kSmallBuffer> last_error{};
  std::array<std::uint8_t, kSmallBuffer> last_tiltra{};

 protected:
  ~CLTConnectBase();

 private:
  bool is_sink_alive() const;
  bool connect_socket(platform::AddressWord address, std::uint16_t port);
  bool wait_for_connection(platform::AddressWord address, std::uint16_t port, std::int32_t timeout);
  HRESULT fail_connect(const protocol::Error& failure);
  int close_connection();
  HRESULT hand_out(CommandObject* object, IUnknown** out, bool& present);
};

}  // namespace kestrine::transport
