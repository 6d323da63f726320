// The connection class: CLTConnectBase under an interface family.
#pragma once

#include <optional>

#include "commands/typed_methods.h"
#include "component/component_object.h"
#include "component/object_parts.h"
#include "data/disk_file.h"
#include "data/packet_access.h"
#include "kestrine/interfaces.h"
#include "scripting/late_bound.h"
#include "transport/connection.h"

namespace kestrine::component {

// The members by number, for callers by name.
template <class Interface>
class NumberedMembers : public data::PacketReaders<Interface> {
 protected:
  ~NumberedMembers() = default;

  HRESULT call(int dispid, const commands::Argument* arguments) {
    return commands::call_connect_member(static_cast<Interface&>(*this), dispid, arguments);
  }
};

}  // namespace kestrine::component

namespace kestrine {

template <class Interface>
struct InterfaceId<component::NumberedMembers<Interface>> : InterfaceId<Interface> {};

}  // namespace kestrine

namespace kestrine::component {

template <class Interface>
class Connect final
    : public ComponentObject<scripting::Offered<NumberedMembers<Interface>>, ErrorInfoSupport<Interface>>,
      public transport::CLTConnectBase {
 public:
  explicit Connect(transport::Slots& generation, IUnknown* outer = nullptr)
      : Connect::ComponentObject(generation.process, outer), CLTConnectBase(generation) {}

  IUnknown* unknown() override { return static_cast<Interface*>(this); }

  HRESULT get_ILTCommandAsync(IUnknown** value) override { return CLTConnectBase::get_ILTCommandAsync(value); }
  HRESULT get_ILTCommandSync(IUnknown** value) override { return CLTConnectBase::get_ILTCommandSync(value); }
  HRESULT get_LastResultStatus(VL_ResultStatus* value) override {
    return hand(value, static_cast<VL_ResultStatus>(last_result_status));
  }
  HRESULT ConnectEmbeddedSystem(BSTR address, std::int32_t port) override {
    return CLTConnectBase::ConnectEmbeddedSystem(address, port);
  }
  HRESULT DisconnectEmbeddedSystem() override { return CLTConnectBase::DisconnectEmbeddedSystem(); }
  HRESULT SelectNotificationMethod(KR_NotifyMethod method, std::int32_t target, std::int32_t new_cookie) override {
    return CLTConnectBase::SelectNotificationMethod(method, target, new_cookie);
  }
  HRESULT GetData(VARIANT* data) override { return CLTConnectBase::GetData(data); }
  HRESULT get_Version(std::int32_t* value) override { return hand(value, version); }
  HRESULT get_BuildNumber(std::int32_t* value) override { return hand(value, build_number); }
  HRESULT get_MajorVersion(std::int32_t* value) override { return hand(value, (version >> 16) & 0xFFFF); }
  HRESULT get_MinorVersion(std::int32_t* value) override { return hand(value, version & 0xFFFF); }
  HRESULT put_ExceptionHandlingPolicy(std::int32_t value) override {
    exception_policy = value != 0;
    return S_OK;
  }
  HRESULT get_IsConnected(VARIANT_BOOL* value) override {
    return hand(value, static_cast<VARIANT_BOOL>(connected ? 1 : 0));  // 1, not VARIANT_TRUE
  }
  HRESULT put_ForceSingleConnection(VARIANT_BOOL) override {
    return S_OK;  // the rule is the server's: it answers VL_RS_MultiConnectionsNotAllowed
  }
  HRESULT put_IsHostedByWebApplication(VARIANT_BOOL value) override {
    slots.process.web_hosted = value != 0;
    return S_OK;
  }
  HRESULT put_SupportLegacyStationaryMode(VARIANT_BOOL value) override {
    legacy_stationary_mode = value != 0;
    return S_OK;
  }

  HRESULT StillImageGetFile(VARIANT* packet, std::int32_t* size, VARIANT* file) override {
    return CLTConnectBase::StillImageGetFile(packet, size, file);
  }
  HRESULT WriteDiskFile(VARIANT* data, BSTR name) override {
    return data::write_disk_file(data, name) ? S_OK : fail(protocol::error::kDiskFile);
  }
  HRESULT GetConstant(KR_Constant constant, double* value) override {
    if (value == nullptr) return E_POINTER;
    const std::optional<double> found = protocol::find_constant(constant);
    *value = found.value_or(0);
    return found ? S_OK : fail(protocol::error::kWrongConstant);
  }

 private:
  ~Connect() override = default;

  HRESULT locate(data::PacketReader reader, VARIANT* packet, std::int32_t index, const std::uint8_t*& at) override {
    const protocol::Error* failure = find_in_packet(reader, packet, index, suppress_statistic_mode_errors, at);
    return failure == nullptr ? S_OK : fail(*failure);
  }

  template <class Value>
  static HRESULT hand(Value* out, Value value) {
    if (out == nullptr) return E_POINTER;
    *out = value;
    return S_OK;
  }
};

using CLTConnect = Connect<ILTConnect>;
using CLTConnect2 = Connect<ILTConnect2>;

}  // namespace kestrine::component
