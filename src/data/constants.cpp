#include "data/constants.h"

#include "data/constant_rows.h"

namespace kestrine::data {

std::optional<double> find_constant(KR_Constant constant) {
  for (const ConstantRow& row : kConstantRows) {
    if (row.constant == constant) return row.value;
  }
  return std::nullopt;
}

}  // namespace kestrine::data
