// Events of the library on their way to handlers in Python.
#pragma once

#include <pybind11/pybind11.h>

#include <cstdint>
#include <thread>
#include <vector>

#include "kestrine/pointer.h"
#include "kestrine/sink.h"
#include "python/src/members.h"

namespace kestrine::python {

class ComObject;

// The handler of an event, none of which is kept alive: weak references to the object and to the function of a method.
struct Handler {
  pybind11::object target;
  pybind11::object function;
  std::vector<pybind11::object> converters;  // one for each argument
};

// Handlers run with the interpreter lock, on the thread of the objects. What they raise ends nothing: it is reported as
// unraisable, save what is to end the program, which is raised once the library has returned.
class EventSink final : public Sink {
 public:
  // `handlers` by dispatch identifier; an empty function for events without a handler.
  EventSink(const GUID& events, std::vector<Handler> handlers)
      : Sink(events_, events_, {}), events_(events), handlers_(std::move(handlers)) {}

  HRESULT Invoke(DISPID member, REFIID reserved, LCID locale, WORD flags, DISPPARAMS* arguments, VARIANT* result,
                 EXCEPINFO* exception, UINT* bad_argument) override;

 private:
  ~EventSink() override;

  const GUID events_;
  std::vector<Handler> handlers_;
};

// A sink's connection to an object, until close() or its end.
class EventConnection {
 public:
  // `handlers` maps the names of events to pairs, as in Handler.
  EventConnection(const ComObject& source, const pybind11::dict& handlers, const pybind11::dict& converters);
  ~EventConnection() { close(); }
  EventConnection(const EventConnection&) = delete;
  EventConnection& operator=(const EventConnection&) = delete;

  void close();  // also from inside a handler, and twice

 private:
  Pointer<IConnectionPoint> point_;
  DWORD cookie_ = 0;
  std::thread::id home_ = std::this_thread::get_id();
};

}  // namespace kestrine::python
