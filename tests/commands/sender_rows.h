// The operations of ILTCommandAsync as an application calls them, with what each of them must send: a second telling,
// written down apart from the tables that the library itself is made of.
#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <span>
#include <string>

#include "kestrine/interfaces.h"
#include "operation_rows.h"

namespace kestrine::test {

// One member of the interface.
struct Sender {
  TypedCall (*call)(ILTCommandAsync& commands, std::mt19937& random);  // with random arguments
  std::size_t (*slot)();
  std::string (*types)();  // of its parameters, as in a row
};

struct SenderRow {
  const char* name;
  std::int32_t command;
  const char* types;  // of the parameters, in the order in which the request carries them: long, double, bool
  Sender sender;
};

// In the order of their slots.
std::span<const SenderRow> sender_rows();

}  // namespace kestrine::test
