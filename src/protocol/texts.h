// All texts of the library: statuses, commands, messages, and how a command failed.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace kestrine::protocol {

// The server's own words for a status, spelling included; every number has a text.
std::u16string status_text(std::int32_t status);
// A command's display name; "Unknown command (unexpected)" for what is none. Ends in a NUL.
std::u16string_view command_text(std::int32_t command);
// A row of the string table; empty for a row that is not there.
std::u16string_view table_text(std::int32_t row);
// The row of the warning for a status that accepts a parameter out of its range; 0 for every other status.
std::int32_t warning_row(std::int32_t status);

// A request could not be written to the socket.
std::u16string send_failure_text(std::int32_t command);
// The server answered `status`. An error that belongs to no command is reported as an "Error Event".
std::u16string bad_answer_text(std::int32_t command, std::int32_t status);
// No answer came in time.
std::u16string timeout_text(std::int32_t command);

}  // namespace kestrine::protocol
