#include "python/src/call_arguments.h"

#include <algorithm>
#include <array>

#include "kestrine/text.h"
#include "python/src/failure.h"

namespace py = pybind11;

namespace kestrine::python {
namespace {

// Names are looked up by the object, which knows them in any case of letters.
DISPID id_of_argument(IDispatch& object, const Member& member, const py::handle& name) {
  Text member_name(member.name), argument(py::cast<std::string>(name));
  std::array<LPOLESTR, 2> names{member_name, argument};
  std::array<DISPID, 2> ids{};
  const HRESULT code = object.GetIDsOfNames(IID_NULL, names.data(), 2, LOCALE_USER_DEFAULT, ids.data());
  if (FAILED(code)) raise_com_error(code, {}, member.name + " has no parameter " + argument.utf8() + ".");
  return ids[1];
}

// Of a named tuple as of a plain one: to call the class would make a list of the values, and a plain one, first.
py::object new_tuple(const py::object& type, std::size_t size) {
  if (type.is_none()) return py::tuple(size);
  auto* const named = reinterpret_cast<PyTypeObject*>(type.ptr());
  auto made = py::reinterpret_steal<py::object>(named->tp_alloc(named, static_cast<Py_ssize_t>(size)));
  if (!made) throw py::error_already_set();
  return made;
}

}  // namespace

CallArguments::CallArguments(const Member& member) : member_(member), held_(member.parameters.size()) {}

CallArguments::~CallArguments() {
  for (VARIANT& argument : arguments_) VariantClear(&argument);
  for (VARIANT& value : held_) VariantClear(&value);
}

void CallArguments::bind(IDispatch& object, const py::tuple& positional, const py::dict& named) {
  arguments_.reserve(member_.parameters.size() + positional.size() + named.size());
  if (member_.kind == DISPATCH_PROPERTYGET || member_.kind == DISPATCH_PROPERTYPUT) {
    if (member_.kind == DISPATCH_PROPERTYPUT) add_named(DISPID_PROPERTYPUT, positional[0]);
  } else if (named.empty()) {
    bind_positional(positional);
  } else {
    bind_named(object, positional, named);
  }
  parameters_ = {arguments_.data(), ids_.data(), static_cast<UINT>(arguments_.size()), static_cast<UINT>(ids_.size())};
}

void CallArguments::bind_positional(const py::tuple& positional) {
  const std::vector<int>& inputs = member_.inputs;
  std::size_t next = 0;
  const auto take_next = [&] {
    const auto place = static_cast<std::size_t>(inputs[next]);
    arguments_.emplace_back();
    to_variant(positional[next++], member_.parameters[place], arguments_.back());
  };
  if (positional.size() < inputs.size()) {
    while (next < positional.size()) take_next();
  } else {
    for (std::size_t i = 0; i < member_.parameters.size(); ++i) {
      member_.parameters[i].out ? arguments_.push_back(reference_to(i)) : take_next();
    }
    arguments_.resize(arguments_.size() + positional.size() - inputs.size());
  }
  std::ranges::reverse(arguments_);
}

void CallArguments::bind_named(IDispatch& object, const py::tuple& positional, const py::dict& named) {
  if (positional.size() > member_.inputs.size()) raise_com_error(DISP_E_BADPARAMCOUNT);
  for (std::size_t i = 0; i < positional.size(); ++i) add_named(member_.inputs[i], positional[i]);
  for (const auto& [name, value] : named) add_named(id_of_argument(object, member_, name), value);
  for (std::size_t i = 0; i < member_.parameters.size(); ++i) {
    if (!member_.parameters[i].out) continue;
    ids_.push_back(static_cast<DISPID>(i));
    arguments_.push_back(reference_to(i));
  }
}

void CallArguments::add_named(DISPID id, const py::handle& value) {
  const auto place = static_cast<std::size_t>(std::max(id, 0));
  arguments_.emplace_back();
  to_variant(value, member_.parameters[std::min(place, member_.parameters.size() - 1)], arguments_.back());
  ids_.push_back(id);
}

VARIANT CallArguments::reference_to(std::size_t place) {
  VARIANT reference{};
  reference.vt = VT_BYREF | VT_VARIANT;
  reference.pvarVal = &held_[place];
  return reference;
}

std::optional<int> CallArguments::place_of(HRESULT code, UINT bad) const {
  if (code != DISP_E_TYPEMISMATCH && code != DISP_E_OVERFLOW && code != DISP_E_PARAMNOTFOUND) return {};
  if (bad >= arguments_.size()) return {};
  if (bad < ids_.size()) return std::max(ids_[bad], 0) + 1;
  return static_cast<int>(arguments_.size() - bad);
}

py::object CallArguments::outputs() const {
  const auto value = [this](std::size_t place) { return to_python(held_[place], member_.parameters[place].convert); };
  const std::size_t count = held_.size() - member_.inputs.size();
  std::size_t place = 0;
  const auto find_next = [&] {
    while (!member_.parameters[place].out) ++place;
    return place++;
  };
  if (count == 0) return py::none();
  if (count == 1) return value(find_next());
  py::object all = new_tuple(member_.result, count);
  for (std::size_t i = 0; i < count; ++i) {
    PyTuple_SET_ITEM(all.ptr(), static_cast<Py_ssize_t>(i), value(find_next()).release().ptr());
  }
  return all;
}

}  // namespace kestrine::python
