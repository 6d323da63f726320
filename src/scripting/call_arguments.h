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

  // Converts the inputs and finds a place for every output. On failure nothing of the caller's has changed, and where
  // one argument is to blame `bad` is its place among the given ones.
  HRESULT bind(const DISPPARAMS& given, VARIANT* result, UINT* bad);
  commands::Argument* values() { return values_.data(); }
  // Moves outputs that were received here to the caller's variants.
  void hand_out();

 private:
  struct Place {
    VARIANT held;     // a converted input, or an output until it is handed out
    VARIANT* target;  // the caller's variant for it; null where the member writes to the caller's value at once
  };

  using Matches = std::array<VARIANTARG*, protocol::kMostValues>;

  HRESULT match(const DISPPARAMS& given, Matches& found, UINT* bad) const;
  HRESULT bind_input(const Value& param, VARIANTARG& given, std::size_t i);
  HRESULT bind_output(const Value& param, VARIANTARG& given, std::size_t i);
  HRESULT hold_output(const Value& param, VARIANT* target, std::size_t i);

  const MemberRow& member_;
  std::array<commands::Argument, protocol::kMostValues> values_;
  std::array<Place, protocol::kMostValues> places_;  // the first `bound_` are in use
  std::size_t bound_ = 0;
};

}  // namespace kestrine::scripting
