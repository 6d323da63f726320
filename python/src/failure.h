// Failures and notices of the library as Python tells them.
#pragma once

#include <pybind11/pybind11.h>

#include <cstdint>
#include <optional>
#include <string>

#include "kestrine/component.h"

namespace kestrine::python {

// What the thread's error information says, which is taken out of its slot.
struct Report {
  std::string source;
  std::string description;
  std::int32_t number = 0;
};
std::optional<Report> take_report();
// (description, source, number), or None.
pybind11::object as_tuple(const std::optional<Report>& report);

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

// A message box has nobody to click it away here: it becomes a NoticeWarning once the library has returned.
void catch_notices();
void restore_notices();
void show_notices();

}  // namespace kestrine::python
