// Numbers as text, the same under every locale.
#pragma once

#include <cstddef>
#include <string>

namespace kestrine::cli {

// With the fewest digits that read back as the same value; empty when it is not finite.
std::string shortest(double value);
// With that many decimals; a value that rounds to zero has no sign. "-" when it is not finite.
std::string fixed(double value, int decimals);
// For pictures: with a minus sign in place of the hyphen.
std::string with_minus(std::string number);
// "1 point", "2 points".
std::string counted(std::size_t count, const std::string& thing);
// Minutes and seconds, as a clock shows them.
std::string clock_time(double seconds);

}  // namespace kestrine::cli
