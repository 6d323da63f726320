// The arguments of one call by name, between variants and the values that a member takes.
#pragma once

#include <array>

#include "commands/arguments.h"
#include "kestrine/component.h"
#include "scripting/type_names.h"

namespace kestrine::scripting {

class DispatchArguments {
 public:
  explicit DispatchArguments(const MemberRow& member) : member_(member) {}
  ~DispatchArguments();
  DispatchArguments(const DispatchArguments&) = delete;
  DispatchArguments& operator=(const DispatchArguments&) = delete;

  // Converts the inputs and makes a place for every output. Nothing of the caller's changes here. Where one argument is
  // to blame for a failure `bad` is its place among the given ones.
  HRESULT bind(const DISPPARAMS& given, VARIANT* result, UINT* bad);
  commands::Argument* values() { return values_.data(); }
  // Moves the outputs to the caller, all of them or, on failure, none.
  HRESULT hand_out();

 private:
  struct Place {
    VARIANT held;      // a converted input; an output until it is handed out, then what the caller had there
    VARIANT* variant;  // the caller's for the output, which is replaced or has its record filled
    void* value;       // or the caller's value
  };

  using Matches = std::array<VARIANTARG*, protocol::kMostValues>;

  HRESULT match(const DISPPARAMS& given, Matches& found, UINT* bad) const;
  HRESULT bind_input(const Value& param, VARIANTARG& given, std::size_t i);
  HRESULT bind_output(const Value& param, VARIANTARG& given, std::size_t i);
  HRESULT hold_output(const Value& param, std::size_t i);

  const MemberRow& member_;
  std::array<commands::Argument, protocol::kMostValues> values_;
  std::array<Place, protocol::kMostValues> places_;  // the first `bound_` are in use
  std::size_t bound_ = 0;
};

}  // namespace kestrine::scripting
