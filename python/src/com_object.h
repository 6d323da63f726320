// A counted object of the library that can be called by name.
#pragma once

#include <pybind11/pybind11.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "kestrine/component.h"
#include "kestrine/pointer.h"
#include "python/src/failure.h"
#include "python/src/members.h"

namespace kestrine::python {

class ComObject {
 public:
  explicit ComObject(Pointer<IDispatch> object) : object_(std::move(object)) {}
  ~ComObject();
  ComObject(const ComObject&) = delete;
  ComObject& operator=(const ComObject&) = delete;

  // By program identifier, or by class identifier in braces.
  static std::unique_ptr<ComObject> create(const std::string& name);

  // Another reference to the object, with a latest status of its own.
  std::unique_ptr<ComObject> another() const { return std::make_unique<ComObject>(Pointer<IDispatch>(&object())); }

  std::string type_name() const { return name_of(*type_of(object())); }
  std::vector<Member> members(const pybind11::dict& converters) const {
    return read_members(*type_of(object()), converters);
  }
  // Of the default event interface; none when there is no such interface.
  std::vector<Member> events(const pybind11::dict& converters) const;
  // Returns None where there are no outputs, a single one as it is, else all in a tuple in declared order. Without the
  // interpreter lock while the library works.
  pybind11::object invoke(const Member& member, const pybind11::tuple& positional, const pybind11::dict& named);

  HRESULT last_status() const { return last_status_; }
  // What the library said to its latest success other than S_OK.
  pybind11::object warning() const { return as_tuple(warning_); }
  // The same for all references to one object.
  std::uintptr_t identity() const;

  IDispatch& object() const;  // once what waited for this thread has been released

 private:
  Pointer<IDispatch> object_;
  std::thread::id home_ = std::this_thread::get_id();
  HRESULT last_status_ = S_OK;
  std::optional<Error> warning_;
};

}  // namespace kestrine::python
