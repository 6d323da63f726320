#include "protocol/catalogue.h"

#include <algorithm>

namespace kestrine::protocol {
namespace {

template <class Row, class Key, class Column>
const Row* find(std::span<const Row> rows, const Key& key, Column column) {
  const auto found = std::ranges::find(rows, key, column);
  return found != rows.end() ? &*found : nullptr;
}

void add_leaves(const TypeRow& record, const std::string& path, std::uint16_t offset, std::vector<Leaf>& leaves) {
  for (const Value& field : record.fields) {
    if (is_element(field)) continue;
    Leaf leaf{field, path + field.name};
    leaf.offset = static_cast<std::uint16_t>(leaf.offset + offset);
    if (field.type == ValueType::kRecord) {
      add_leaves(*field.named, leaf.path + '.', leaf.offset, leaves);
    } else {
      leaves.push_back(std::move(leaf));
    }
  }
}

}  // namespace

const TypeRow* find_type(std::string_view name) {
  return find(types(), name, &TypeRow::name);
}

const CommandRow* find_command(std::int32_t code) {
  const auto rows = commands();
  const auto found = std::ranges::lower_bound(rows, code, {}, &CommandRow::code);
  return found != rows.end() && found->code == code ? &*found : nullptr;
}

const PacketRow* find_packet(std::int32_t type) {
  return find(packets(), type, &PacketRow::type);
}

std::optional<double> find_constant(std::int32_t constant) {
  const ConstantRow* const row = find(constants(), constant, &ConstantRow::constant);
  return row != nullptr ? std::optional(row->value) : std::nullopt;
}

std::vector<Leaf> leaves_of(const TypeRow& record) {
  std::vector<Leaf> leaves;
  add_leaves(record, {}, 0, leaves);
  return leaves;
}

}  // namespace kestrine::protocol
