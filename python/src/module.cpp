// The extension module: what the Python part of the package builds on.
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <map>
#include <string>

#include "kestrine/host.h"
#include "python/src/com_object.h"
#include "python/src/deferred.h"
#include "python/src/event_sink.h"
#include "python/src/failure.h"
#include "python/src/loop.h"

namespace py = pybind11;

namespace {

using namespace kestrine;
using namespace kestrine::python;

std::string type_of_parameter(const Parameter& parameter) {
  if (!parameter.type_name.empty()) return parameter.type_name;
  static const std::map<VARTYPE, const char*> names{{VT_I2, "int"},    {VT_I4, "int"},   {VT_R8, "float"},
                                                    {VT_BOOL, "bool"}, {VT_BSTR, "str"}, {VT_VARIANT, "bytes"}};
  const auto found = names.find(parameter.type);
  return found == names.end() ? "object" : found->second;
}

void set_result(Member& member, const py::object& type) {
  if (!type.is_none() && (PyType_Check(type.ptr()) == 0 ||
                          PyType_IsSubtype(reinterpret_cast<PyTypeObject*>(type.ptr()), &PyTuple_Type) == 0)) {
    throw py::type_error("a result is a kind of tuple");
  }
  member.result = type;
}

void add_members(py::module_& module) {
  py::class_<Parameter>(module, "Parameter")
      .def_readonly("name", &Parameter::name)
      .def_readonly("out", &Parameter::out)
      .def_property_readonly("type", type_of_parameter);
  py::class_<Member>(module, "Member")
      .def_readonly("name", &Member::name)
      .def_readonly("kind", &Member::kind)
      .def_readonly("parameters", &Member::parameters)
      .def_property(
          "result", [](const Member& member) { return member.result; }, set_result);
}

void add_objects(py::module_& module) {
  py::class_<ComObject>(module, "ComObject")
      .def(py::init(&ComObject::create), py::arg("name"))
      .def("__copy__", &ComObject::another)
      .def_property_readonly("type_name", &ComObject::type_name)
      .def_property_readonly("identity", &ComObject::identity)
      .def_property_readonly("last_status", &ComObject::last_status)
      .def_property_readonly("warning", &ComObject::warning)
      .def("members", &ComObject::members)
      .def("events", &ComObject::events)
      .def("invoke", &ComObject::invoke);
  py::class_<EventConnection>(module, "EventConnection")
      .def(py::init<const ComObject&, const py::dict&, const py::dict&>())
      .def("close", &EventConnection::close);
}

void add_loop(py::module_& module) {
  module.def("thread_report", [] { return as_tuple(take_report()); });
  module.def("fileno", &host::fd);
  module.def("pump_waiting", &pump_waiting);
  module.def("pump", &pump);
  module.def("pump_for", &pump_for);
  module.def("quit", &quit);
  module.def("behaviour", [] { return host::behaviour() == host::Behaviour::kModern ? "modern" : "classic"; });
  module.def("set_behaviour", [](const std::string& name) {
    if (name != "classic" && name != "modern") throw py::value_error("a behaviour is \"classic\" or \"modern\"");
    return host::set_behaviour(name == "modern" ? host::Behaviour::kModern : host::Behaviour::kClassic);
  });
}

// The hooks call into the interpreter, which goes before the library does.
void install_hooks() {
  catch_notices();
  host::set_give_up_hook(asked_to_give_up);
  py::module_::import("atexit").attr("register")(py::cpp_function([] {
    restore_notices();
    host::set_give_up_hook({});
  }));
}

}  // namespace

PYBIND11_MODULE(_kestrine, module) {
  add_members(module);
  add_objects(module);
  add_loop(module);
  install_hooks();
}
