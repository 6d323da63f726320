#include "protocol/texts.h"

#include <algorithm>
#include <span>

#include "protocol/errors.h"
#include "protocol/tables.h"
#include "protocol/text_rows.h"

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

}  // namespace

std::u16string StatusText(std::int32_t status) {
  if (const char16_t* text = find_text(status_texts(), status)) return text;
  // Numbers that the tracker itself reports.
  if (status >= 100 && status <= 999)
    return std::u16string(LoadStringResource(text_row::kTrackerError)) + decimal(status);
  if ((status >= 1000 && status <= 29999) || status > 100000) return decimal(status);
  return std::u16string(LoadStringResource(text_row::kUnexpectedStatus));
}

std::u16string_view CommandText(std::int32_t command) {
  const CommandRow* row = find_command(command);
  return row != nullptr ? row->text : LoadStringResource(text_row::kUnexpectedCommand);
}

std::u16string SendFailureText(std::int32_t command) {
  std::u16string text(LoadStringResource(text_row::kInvokingCommand));
  text.append(u" \"").append(CommandText(command)).append(u"\" [").append(decimal(command)).append(u"] ");
  return text.append(LoadStringResource(text_row::kFailed)).append(u"!");
}

std::int32_t StatusToWarningRow(std::int32_t status) {
  const auto found = std::ranges::find(warnings(), status, &WarningRow::status);
  return found != warnings().end() ? found->text_row : 0;
}

std::u16string_view LoadStringResource(std::int32_t row) {
  const char16_t* text = find_text(string_table(), row);
  return text != nullptr ? text : std::u16string_view();
}

}  // namespace kestrine::protocol
