// The sentences in which a command's bad end is told.
#pragma once

#include <cstdint>
#include <string>

namespace kestrine::protocol {

// Statuses of an axis that ran into its limit while it was driven; the catalogue of statuses does not name them.
inline constexpr std::int32_t kHorizontalLimitStatus = 703;
inline constexpr std::int32_t kVerticalLimitStatus = 704;

// The server answered `status`. An error that belongs to no command is told as an "Error Event".
std::u16string answer_report(std::int32_t command, std::int32_t status);
// No answer came in time.
std::u16string timeout_report(std::int32_t command);

}  // namespace kestrine::protocol
