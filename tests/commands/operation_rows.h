// The operations of ILTCommandSync as an application calls them, with what each of them must do: a second telling,
// written down apart from the tables that the library itself is made of.
#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "kestrine/interfaces.h"
#include "scripted_peer.h"

namespace kestrine::test {

// One typed call with random arguments.
struct TypedCall {
  HRESULT result = E_UNEXPECTED;
  Bytes parameters;                  // as the request has to carry them
  std::vector<std::int32_t> longs;   // the inputs that are whole numbers
  std::vector<std::string> outputs;  // in order; a record as its bytes
};

enum class Wait {
  kNone,
  kStandard,
  kExtended,
  kTrackerInit,
  kFind,
  kTransformation,
  kOrientToGravity,
  kIntermediateCompensation,
  kAtrCompensation,
  kMeasureTimeAndStandard,
  kMeasureTimeAndAdditional,
  kMeasureTimeAndFind,
};

struct OperationRow {
  const char* name;
  std::int32_t command;  // -1: sends nothing
  Wait wait;
  std::int32_t result;  // the type of the packet with the outputs
  TypedCall (*call)(ILTCommandSync& commands, std::mt19937& random, const std::set<std::size_t>& flags);

  bool sends_only() const { return command >= 0 && wait == Wait::kNone; }
  bool waits() const { return wait != Wait::kNone; }
};

// In the order of their identifiers.
std::span<const OperationRow> operation_rows();

}  // namespace kestrine::test
