#include "python/src/failure.h"

#include "kestrine/pointer.h"
#include "kestrine/text.h"

namespace py = pybind11;

namespace kestrine::python {
namespace {

[[noreturn]] void raise(HRESULT code, const py::object& excepinfo, const py::object& argument, std::int32_t number,
                        const std::string& detail = {}) {
  const py::object type = error_class("com_error");
  const py::object error = type.attr("from_status")(code, excepinfo, argument, number, detail);
  PyErr_SetObject(type.ptr(), error.ptr());
  throw py::error_already_set();
}

std::string to_string(BSTR text) {
  return to_utf8({text, SysStringLen(text)});
}

}  // namespace

py::object error_class(const char* name) {
  return py::module_::import("kestrine._errors").attr(name);
}

std::optional<Error> take_report() {
  Pointer<IErrorInfo> info;
  if (GetErrorInfo(0, info.put()) != S_OK) return {};
  SetErrorInfo(0, info.get());
  return take_error(S_FALSE);
}

py::object as_tuple(const std::optional<Error>& report) {
  if (!report) return py::none();
  return py::make_tuple(report->what(), to_utf8(report->source()), report->number());
}

void raise_com_error(HRESULT code, std::optional<int> argument, const std::string& detail) {
  raise(code, py::none(), argument ? py::object(py::int_(*argument)) : py::none(), 0, detail);
}

void raise_com_error_with_report(HRESULT code) {
  const std::optional<Error> report = take_report();
  if (!report) raise_com_error(code);
  raise(code, py::make_tuple(0, to_utf8(report->source()), report->what(), py::none(), 0, code), py::none(),
        report->number());
}

Exception::~Exception() {
  for (BSTR text : {bstrSource, bstrDescription, bstrHelpFile}) SysFreeString(text);
}

void raise_com_error(Exception& exception) {
  if (exception.pfnDeferredFillIn != nullptr) exception.pfnDeferredFillIn(&exception);
  const std::string source = to_string(exception.bstrSource);
  const std::string description = to_string(exception.bstrDescription);
  const std::string help_file = to_string(exception.bstrHelpFile);
  const std::optional<Error> report = take_report();
  const py::object file = help_file.empty() ? py::none() : py::object(py::str(help_file));
  raise(DISP_E_EXCEPTION,
        py::make_tuple(exception.wCode, source, description, file, exception.dwHelpContext, exception.scode),
        py::none(), report ? report->number() : 0);
}

}  // namespace kestrine::python
