#include <algorithm>

#include "protocol/tables.h"

namespace kestrine::protocol {

const CommandRow* find_command(std::int32_t code) {
  const auto rows = commands();
  const auto found = std::ranges::lower_bound(rows, code, {}, &CommandRow::code);
  return found != rows.end() && found->code == code ? &*found : nullptr;
}

const RecordRow* find_record(std::string_view name) {
  const auto rows = records();
  const auto found = std::ranges::find_if(rows, [name](const RecordRow* row) { return row->name == name; });
  return found != rows.end() ? *found : nullptr;
}

const EnumRow* find_enumeration(std::string_view name) {
  const auto rows = enumerations();
  const auto found = std::ranges::find_if(rows, [name](const EnumRow& row) { return row.name == name; });
  return found != rows.end() ? &*found : nullptr;
}

const PacketRow* find_packet(std::int32_t type) {
  const auto rows = packets();
  const auto found = std::ranges::find(rows, type, &PacketRow::type);
  return found != rows.end() ? &*found : nullptr;
}

}  // namespace kestrine::protocol
