// Calls by name: from names to identifiers, and from variants to the members that the rows describe.
#pragma once

#include "commands/arguments.h"
#include "kestrine/component.h"
#include "scripting/type_names.h"

namespace kestrine::scripting {

// Whoever can be called by number, with one argument for each parameter, in order.
class Callee {
 public:
  virtual HRESULT call(DISPID member, commands::Argument* arguments) = 0;

 protected:
  ~Callee() = default;
};

// The first name is a member's, those after it are its parameters'; a parameter's identifier is its place.
HRESULT find_names(const TypeRow& type, REFIID reserved, LPOLESTR* names, UINT count, DISPID* ids);

// Calls a member. Inputs are converted; an output needs a reference to a value of its own type or to a variant. A
// member that fails gives DISP_E_EXCEPTION, with what the thread's error information says, which stays where it is. A
// success other than S_OK is returned as it is. Outputs reach the caller by a success only.
HRESULT invoke(const TypeRow& type, Callee& callee, DISPID member, REFIID reserved, WORD flags, DISPPARAMS* given,
               VARIANT* result, EXCEPINFO* exception, UINT* bad_argument);

}  // namespace kestrine::scripting
