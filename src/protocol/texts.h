// Every text that the library says: statuses, commands, messages.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace kestrine::protocol {

// The server's own words for a status, spelling included; every number has a text.
std::u16string StatusText(std::int32_t status);
// A command's display name; "Unknown command (unexpected)" for what is none. Ends in a NUL.
std::u16string_view CommandText(std::int32_t command);
// What is said when a request could not be written to the socket.
std::u16string SendFailureText(std::int32_t command);
// 517 to 522 for the six statuses that accept a parameter out of its range, else 0.
std::int32_t StatusToWarningRow(std::int32_t status);
// A row of the string table; empty for a row that is not there.
std::u16string_view LoadStringResource(std::int32_t row);

}  // namespace kestrine::protocol
