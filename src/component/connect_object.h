// The connection class: CLTConnectBase under an interface family.
#pragma once

#include "component/object_parts.h"
#include "kestrine/interfaces.h"
#include "kestrine/object.h"
#include "transport/connection.h"

namespace kestrine::component {

template <class Interface>
class Connect final : public Object<Interface, ErrorInfoSupport<Interface>>, public transport::CLTConnectBase {
 public:
  explicit Connect(transport::Slots& generation) : CLTConnectBase(generation) {}

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
  HRESULT get_MajorVersion(std::int32_t* value) override { return hand(value, version >> 16); }
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

  // Not offered yet: the accessors over packets, and the constants. Native callers read packets with
  // kestrine/records.h.
  HRESULT ContinuousDataGetHeaderInfo(VARIANT*, std::int32_t*, VL_MeasMode*, double*, double*, double*,
                                      VARIANT_BOOL*) override {
    return E_NOTIMPL;
  }
  HRESULT ContinuousPointGetAt(VARIANT*, std::int32_t, VL_MeasurementStatus*, std::int32_t*, std::int32_t*, double*,
                               double*, double*) override {
    return E_NOTIMPL;
  }
  HRESULT ContinuousProbeDataGetAt(VARIANT*, std::int32_t, VL_MeasurementStatus*, VL_TriggerStatus*, std::int32_t*,
                                   std::int32_t*, std::int32_t*, double*, double*, double*, double*, double*, double*,
                                   double*, double*, double*, double*, double*, double*, double*, double*, double*,
                                   double*, double*, double*, double*, double*, double*, double*, double*,
                                   double*) override {
    return E_NOTIMPL;
  }
  HRESULT ContinuousPoint2GetAt(VARIANT*, std::int32_t, VL_MeasurementStatus*, std::int32_t*, std::int32_t*, double*,
                                double*, double*, double*, double*, double*, double*, double*, double*,
                                double*) override {
    return E_NOTIMPL;
  }
  HRESULT StillImageGetFile(VARIANT*, std::int32_t*, VARIANT*) override { return E_NOTIMPL; }
  HRESULT WriteDiskFile(VARIANT*, BSTR) override { return E_NOTIMPL; }
  HRESULT GetConstant(KR_Constant, double*) override { return E_NOTIMPL; }
  HRESULT ContinuousProbeDataGetHeaderInfo(VARIANT*, std::int32_t*, VL_MeasMode*, std::int32_t*, std::int32_t*,
                                           VL_MeasurementTipStatus*, std::int32_t*, std::int32_t*, double*, double*,
                                           double*, VARIANT_BOOL*) override {
    return E_NOTIMPL;
  }

 private:
  ~Connect() override = default;

  template <class Value>
  static HRESULT hand(Value* out, Value value) {
    if (out == nullptr) return E_POINTER;
    *out = value;
    return S_OK;
  }
};

using CLTConnect = Connect<ILTConnect>;

}  // namespace kestrine::component
