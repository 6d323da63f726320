#include "python/src/event_sink.h"

#include <array>
#include <tuple>
#include <utility>

#include "python/src/com_object.h"
#include "python/src/deferred.h"
#include "python/src/failure.h"
#include "python/src/values.h"

namespace py = pybind11;

namespace kestrine::python {
namespace {

constexpr std::size_t kMostArguments = 64;

// Of a call, its object first. A tuple and a bound method for every event would keep the garbage collector busy.
class Arguments {
 public:
  Arguments() = default;
  ~Arguments() {
    for (std::size_t i = 0; i < count_; ++i) Py_DECREF(values_[i]);
  }
  Arguments(const Arguments&) = delete;
  Arguments& operator=(const Arguments&) = delete;

  void add(py::object value) { values_[count_++] = value.release().ptr(); }
  void call(const py::object& function) const {
    PyObject* result = PyObject_Vectorcall(function.ptr(), values_.data(), count_, nullptr);
    if (result == nullptr) throw py::error_already_set();
    Py_DECREF(result);
  }

 private:
  std::array<PyObject*, 1 + kMostArguments> values_;
  std::size_t count_ = 0;
};

// None when it has gone.
py::object referred(const py::object& reference) {
  return py::reinterpret_borrow<py::object>(PyWeakref_GetObject(reference.ptr()));
}

void call(const Handler& handler, const DISPPARAMS& given) {
  py::object target = referred(handler.target);
  const py::object function = referred(handler.function);
  if (target.is_none() || function.is_none()) return;
  const std::size_t count = handler.converters.size();
  if (given.cArgs != count || count > kMostArguments) raise_com_error(DISP_E_BADPARAMCOUNT);
  Arguments arguments;
  arguments.add(std::move(target));
  for (std::size_t i = 0; i < count; ++i) {
    arguments.add(to_python(given.rgvarg[count - 1 - i], handler.converters[i]));
  }
  arguments.call(function);
}

// An exception of a handler has nobody above it who could take it.
void report(py::error_already_set& error, const py::object& handler) {
  const bool ordinary = error.matches(PyExc_Exception);
  error.restore();
  ordinary ? PyErr_WriteUnraisable(handler.ptr()) : keep_exception();
}

std::vector<Handler> find_handlers(ITypeInfo& events, const py::dict& handlers, const py::dict& converters) {
  std::vector<Handler> found;
  for (const Member& event : read_members(events, converters)) {
    const auto place = static_cast<std::size_t>(event.id);
    if (found.size() <= place) found.resize(place + 1);
    if (!handlers.contains(event.name)) continue;
    std::tie(found[place].target, found[place].function) =
        py::cast<std::pair<py::object, py::object>>(handlers[event.name.c_str()]);
    for (const Parameter& parameter : event.parameters) found[place].converters.push_back(parameter.convert);
  }
  return found;
}

}  // namespace

EventSink::~EventSink() {
  if (Py_IsInitialized() == 0) {
    for (Handler& handler : handlers_) {
      handler.target.release();
      handler.function.release();
      for (py::object& converter : handler.converters) converter.release();
    }
    return;
  }
  const py::gil_scoped_acquire lock;
  handlers_.clear();
}

HRESULT EventSink::Invoke(DISPID member, REFIID, LCID, WORD, DISPPARAMS* arguments, VARIANT*, EXCEPINFO*, UINT*) {
  if (arguments == nullptr) return E_POINTER;
  if (member < 0 || static_cast<std::size_t>(member) >= handlers_.size()) return DISP_E_MEMBERNOTFOUND;
  const Handler& wanted = handlers_[static_cast<std::size_t>(member)];
  if (!wanted.function || Py_IsInitialized() == 0) return S_OK;
  const py::gil_scoped_acquire lock;
  const Pointer<EventSink> keep(this);  // a handler may end the connection
  try {
    call(wanted, *arguments);
    return S_OK;
  } catch (py::error_already_set& error) {
    report(error, wanted.target);
    return E_FAIL;
  }
}

EventConnection::EventConnection(const ComObject& source, const py::dict& handlers, const py::dict& converters) {
  IDispatch& object = source.object();
  const Pointer<ITypeInfo> events = events_of(object);
  Pointer<IConnectionPointContainer> container;
  require(object.QueryInterface(IID_IConnectionPointContainer, container.put_void()));
  if (!events) raise_com_error(E_NOINTERFACE);
  Pointer<IConnectionPoint> point;
  require(container->FindConnectionPoint(id_of(*events), point.put()));
  const auto sink =
      Pointer<EventSink>::adopt(new EventSink(id_of(*events), find_handlers(*events, handlers, converters)));
  require(point->Advise(sink.get(), &cookie_));
  point_ = std::move(point);
}

void EventConnection::close() {
  Pointer<IConnectionPoint> point = std::exchange(point_, {});
  if (!point) return;
  if (home_ == std::this_thread::get_id()) {
    point->Unadvise(cookie_);
  } else {
    release_on(home_, point.detach());  // its handlers have gone, so it does nothing until then
  }
}

}  // namespace kestrine::python
