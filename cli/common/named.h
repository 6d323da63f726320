// Tables whose rows have a name, by which a user chooses one.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "cli/common/failure.h"

namespace kestrine::cli {

// Throws Failure when no row has that name; `what` says in its text what a row is.
const auto& find_named(const auto& table, std::string_view name, const std::string& what) {
  const auto found = std::find_if(table.begin(), table.end(), [&](const auto& row) { return row.name == name; });
  if (found == table.end()) throw Failure("no such " + what + ": " + std::string(name));
  return *found;
}

std::vector<std::string> names_of(const auto& table) {
  std::vector<std::string> names;
  names.reserve(table.size());
  for (const auto& row : table) names.emplace_back(row.name);
  return names;
}

}  // namespace kestrine::cli
