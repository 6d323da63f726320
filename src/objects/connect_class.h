// The connection class: ConnectBase under an interface family.
#pragma once

#include <memory>
#include <optional>

#include "commands/typed_methods.h"
#include "connection/byte_arrays.h"
#include "connection/packet_access.h"
#include "kestrine/interfaces.h"
#include "objects/component_object.h"
#include "objects/connect_base.h"
#include "objects/object_parts.h"
#include "objects/version.h"
#include "scripting/late_bound.h"

namespace kestrine::objects {

// The members by number, for callers by name.
template <class Interface>
class NumberedMembers : public connection::PacketAccessors<Interface> {
 protected:
  ~NumberedMembers() = default;

  HRESULT call(int dispid, const commands::Argument* arguments) {
    return commands::call_connect_member(static_cast<Interface&>(*this), dispid, arguments);
  }
};

}  // namespace kestrine::objects

namespace kestrine {

template <class Interface>
struct InterfaceId<objects::NumberedMembers<Interface>> : InterfaceId<Interface> {};

}  // namespace kestrine

namespace kestrine::objects {

template <class Interface>
class ConnectMembers
    : public ComponentObject<scripting::Offered<NumberedMembers<Interface>>, ErrorInfoSupport<Interface>>,
      public ConnectBase {
 public:
  explicit ConnectMembers(const std::shared_ptr<dispatch::Generation>& generation, IUnknown* outer = nullptr)
      : ConnectMembers::ComponentObject(generation->process(), outer), ConnectBase(generation) {
    enter();
  }

  IUnknown* unknown() override { return static_cast<Interface*>(this); }

  HRESULT get_ILTCommandAsync(IUnknown** value) override { return fetch_commands(dispatch::CommandSet::kAsync, value); }
  HRESULT get_ILTCommandSync(IUnknown** value) override { return fetch_commands(dispatch::CommandSet::kSync, value); }
  HRESULT get_LastResultStatus(VL_ResultStatus* value) override {
    return hand_out(value, static_cast<VL_ResultStatus>(last_result_status()));
  }
  HRESULT ConnectEmbeddedSystem(BSTR address, std::int32_t port) override { return connect(address, port); }
  HRESULT DisconnectEmbeddedSystem() override { return disconnect(); }
  HRESULT SelectNotificationMethod(KR_NotifyMethod method, std::int32_t target, std::int32_t cookie) override {
    return select_notification(method, target, cookie);
  }
  HRESULT GetData(VARIANT* data) override { return copy_latest_packet(data); }
  HRESULT get_Version(std::int32_t* value) override { return hand_out(value, version_.packed()); }
  HRESULT get_BuildNumber(std::int32_t* value) override { return hand_out(value, version_.build); }
  HRESULT get_MajorVersion(std::int32_t* value) override { return hand_out(value, (version_.packed() >> 16) & 0xFFFF); }
  HRESULT get_MinorVersion(std::int32_t* value) override { return hand_out(value, version_.packed() & 0xFFFF); }
  HRESULT put_ExceptionHandlingPolicy(std::int32_t value) override {
    set_throws(value != 0);
    return S_OK;
  }
  HRESULT get_IsConnected(VARIANT_BOOL* value) override {
    return hand_out(value, static_cast<VARIANT_BOOL>(link().is_connected() ? 1 : 0));  // 1, not VARIANT_TRUE
  }
  HRESULT put_ForceSingleConnection(VARIANT_BOOL) override {
    return S_OK;  // the rule is the server's: it answers VL_RS_MultiConnectionsNotAllowed
  }
  HRESULT put_IsHostedByWebApplication(VARIANT_BOOL value) override {
    generation_.process().set_web_hosted(value != 0);
    return S_OK;
  }
  HRESULT put_SupportLegacyStationaryMode(VARIANT_BOOL value) override {
    measurement().set_legacy_stationary(value != 0);
    return S_OK;
  }

  HRESULT StillImageGetFile(VARIANT* packet, std::int32_t* size, VARIANT* file) override {
    return extract_image(packet, size, file);
  }
  HRESULT WriteDiskFile(VARIANT* data, BSTR name) override {
    return connection::write_disk_file(data, name) ? S_OK : fail(protocol::error::kDiskFile);
  }
  HRESULT GetConstant(KR_Constant constant, double* value) override {
    if (value == nullptr) return E_POINTER;
    const std::optional<double> found = protocol::find_constant(constant);
    *value = found.value_or(0);
    return found ? S_OK : fail(protocol::error::kWrongConstant);
  }

 protected:
  ~ConnectMembers() override { leave(); }

 private:
  HRESULT locate(connection::PacketAccessor accessor, VARIANT* packet, std::int32_t index,
                 const std::uint8_t*& at) override {
    const protocol::Error* failure = find_in_packet(accessor, packet, index, accepts_any_statistic_mode(), at);
    return failure == nullptr ? S_OK : component_types::guarded([&] { return fail(*failure); });
  }

  template <class Value>
  static HRESULT hand_out(Value* out, Value value) {
    if (out == nullptr) return E_POINTER;
    *out = value;
    return S_OK;
  }

  const Version version_ = library_version();
};

template <class Interface>
using Connect = commands::AtHome<ConnectMembers<Interface>>;

}  // namespace kestrine::objects
