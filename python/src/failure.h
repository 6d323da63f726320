// Failures of the library as exceptions of Python.
#pragma once

#include <pybind11/pybind11.h>

#include <cstdint>
#include <optional>
#include <string>

#include "kestrine/component.h"
#include "kestrine/error.h"

namespace kestrine::python {

// One of the classes of kestrine._errors.
pybind11::object error_class(const char* name);

// What the thread's error information says, which is taken out of its slot.
std::optional<Error> take_report();
// (description, source, number), or None.
pybind11::object as_tuple(const std::optional<Error>& report);

// Throws com_error. `argument` counts from 1; `detail` goes behind the text of the status.
[[noreturn]] void raise_com_error(HRESULT code, std::optional<int> argument = {}, const std::string& detail = {});
// The same with what the thread's error information says.
[[noreturn]] void raise_com_error_with_report(HRESULT code);
// What a call by name failed with.
struct Exception : EXCEPINFO {
  Exception() : EXCEPINFO{} {}
  ~Exception();
  Exception(const Exception&) = delete;
  Exception& operator=(const Exception&) = delete;
};
[[noreturn]] void raise_com_error(Exception& exception);

inline void require(HRESULT code) {
  if (FAILED(code)) raise_com_error(code);
}

}  // namespace kestrine::python
