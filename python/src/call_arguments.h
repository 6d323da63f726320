// The arguments of one call by name, from Python and back.
#pragma once

#include <pybind11/pybind11.h>

#include <optional>
#include <vector>

#include "python/src/members.h"
#include "python/src/values.h"

namespace kestrine::python {

class CallArguments {
 public:
  explicit CallArguments(const Member& member);
  ~CallArguments();
  CallArguments(const CallArguments&) = delete;
  CallArguments& operator=(const CallArguments&) = delete;

  // Callers give inputs only; a place for each output is added. The object resolves the names of arguments, and it is
  // the object that refuses too few and too many.
  void bind(IDispatch& object, const pybind11::tuple& positional, const pybind11::dict& named);
  DISPPARAMS* given() { return &parameters_; }
  VARIANT* result() { return member_.kind == DISPATCH_PROPERTYGET ? &held_[0] : nullptr; }

  // Which argument, from 1 in declared order, a refusal is about; nothing where it is not about one.
  std::optional<int> place_of(HRESULT code, UINT bad) const;
  pybind11::object outputs() const;

 private:
  void bind_positional(const pybind11::tuple& positional);
  void bind_named(IDispatch& object, const pybind11::tuple& positional, const pybind11::dict& named);
  void add_named(DISPID id, const pybind11::handle& value);
  VARIANT reference_to(std::size_t place);

  const Member& member_;
  DISPPARAMS parameters_{};
  std::vector<VARIANT> arguments_;  // the last one first, named ones in front
  std::vector<DISPID> ids_;         // of the named ones
  std::vector<VARIANT> held_;       // outputs, one for each parameter
};

}  // namespace kestrine::python
