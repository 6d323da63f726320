#include "python/src/com_object.h"

#include "kestrine/loader.h"
#include "kestrine/text.h"
#include "python/src/call_arguments.h"
#include "python/src/deferred.h"

namespace py = pybind11;

namespace kestrine::python {

ComObject::~ComObject() {
  release_on(home_, object_.detach());
}

std::unique_ptr<ComObject> ComObject::create(const std::string& name) {
  release_deferred();
  CLSID clsid{};
  Pointer<IDispatch> object;
  SetErrorInfo(0, nullptr);
  HRESULT code = CLSIDFromString(to_utf16(name).c_str(), &clsid);
  if (SUCCEEDED(code)) {
    code = CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch, object.put_void());
  }
  raise_deferred();
  if (FAILED(code)) raise_com_error_with_report(code);
  return std::make_unique<ComObject>(std::move(object));
}

IDispatch& ComObject::object() const {
  release_deferred();
  return *object_;
}

std::vector<Member> ComObject::events(const py::dict& converters) const {
  const Pointer<ITypeInfo> type = events_of(object());
  return type ? read_members(*type, converters) : std::vector<Member>();
}

py::object ComObject::invoke(const Member& member, const py::tuple& positional, const py::dict& named) {
  const Pointer<IDispatch> keep(&object());  // a handler may drop the last other reference
  CallArguments arguments(member);
  arguments.bind(*keep, positional, named);
  Exception exception;
  UINT bad = 0;
  HRESULT code = S_OK;
  SetErrorInfo(0, nullptr);
  {
    const py::gil_scoped_release unlocked;
    code = keep->Invoke(member.id, IID_NULL, LOCALE_USER_DEFAULT, member.kind, arguments.given(), arguments.result(),
                        &exception, &bad);
  }
  last_status_ = code == DISP_E_EXCEPTION ? exception.scode : code;
  warning_ = code == S_OK || FAILED(code) ? std::nullopt : take_report();
  raise_deferred();
  if (code == DISP_E_EXCEPTION) raise_com_error(exception);
  if (FAILED(code)) raise_com_error(code, arguments.place_of(code, bad));
  return arguments.outputs();
}

std::uintptr_t ComObject::identity() const {
  Pointer<IUnknown> unknown;
  require(object().QueryInterface(IID_IUnknown, unknown.put_void()));
  return reinterpret_cast<std::uintptr_t>(unknown.get());
}

}  // namespace kestrine::python
