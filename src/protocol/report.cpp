#include "protocol/report.h"

#include <string_view>

#include "kestrine/enums.h"
#include "protocol/errors.h"
#include "protocol/texts.h"

namespace kestrine::protocol {
namespace {

std::u16string decimal(std::int32_t number) {
  const std::string digits = std::to_string(number);
  return {digits.begin(), digits.end()};
}

std::u16string join(std::initializer_list<std::u16string_view> pieces) {
  std::u16string whole;
  for (const std::u16string_view piece : pieces) whole.append(piece);
  return whole;
}

}  // namespace

std::u16string answer_report(std::int32_t command, std::int32_t status) {
  const bool no_command = command == VL_C_Unknown;
  const std::u16string_view name = no_command ? LoadStringResource(text_row::kErrorEvent) : CommandText(command);
  const std::u16string_view failed = no_command ? std::u16string_view() : LoadStringResource(text_row::kFailed);
  return join({u"[", decimal(command), u"] \"", name, u"\" ", failed, u"  (", LoadStringResource(text_row::kStatus),
               u":  ", StatusText(status), u")"});
}

std::u16string timeout_report(std::int32_t command) {
  return join(
      {u"[", decimal(command), u"]  ", CommandText(command), u":  ", LoadStringResource(text_row::kNoAnswer), u"!"});
}

}  // namespace kestrine::protocol
