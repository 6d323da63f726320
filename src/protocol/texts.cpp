#include "protocol/texts.h"

#include <algorithm>
#include <initializer_list>

#include "kestrine/enums.h"
#include "protocol/catalogue.h"
#include "protocol/errors.h"

namespace kestrine::protocol {
namespace {

const char16_t* find_text(std::span<const TextRow> rows, std::int32_t number) {
  const auto found = std::ranges::lower_bound(rows, number, {}, &TextRow::number);
  return found != rows.end() && found->number == number ? found->text : nullptr;
}

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

std::u16string status_text(std::int32_t status) {
  if (const char16_t* text = find_text(status_texts(), status)) return text;
  // Numbers that the tracker itself reports.
  if (status >= 100 && status <= 999) return join({table_text(text_row::kTrackerError), decimal(status)});
  if ((status >= 1000 && status <= 29999) || status > 100000) return decimal(status);
  return std::u16string(table_text(text_row::kUnexpectedStatus));
}

std::u16string_view command_text(std::int32_t command) {
  const CommandRow* row = find_command(command);
  return row != nullptr ? row->text : table_text(text_row::kUnexpectedCommand);
}

std::u16string_view table_text(std::int32_t row) {
  const char16_t* text = find_text(string_table(), row);
  return text != nullptr ? text : std::u16string_view();
}

std::int32_t warning_row(std::int32_t status) {
  const auto found = std::ranges::find(warnings(), status, &WarningRow::status);
  return found != warnings().end() ? found->text_row : 0;
}

std::u16string send_failure_text(std::int32_t command) {
  return join({table_text(text_row::kInvokingCommand), u" \"", command_text(command), u"\" [", decimal(command), u"] ",
               table_text(text_row::kFailed), u"!"});
}

std::u16string bad_answer_text(std::int32_t command, std::int32_t status) {
  const bool no_command = command == VL_C_Unknown;
  const std::u16string_view name = no_command ? table_text(text_row::kErrorEvent) : command_text(command);
  const std::u16string_view failed = no_command ? std::u16string_view() : table_text(text_row::kFailed);
  return join({u"[", decimal(command), u"] \"", name, u"\" ", failed, u"  (", table_text(text_row::kStatus), u":  ",
               status_text(status), u")"});
}

std::u16string timeout_text(std::int32_t command) {
  return join({u"[", decimal(command), u"]  ", command_text(command), u":  ", table_text(text_row::kNoAnswer), u"!"});
}

}  // namespace kestrine::protocol
