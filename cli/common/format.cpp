#include "cli/common/format.h"

#include <array>
#include <charconv>
#include <cmath>

namespace kestrine::cli {
namespace {

constexpr std::size_t kLongestFixed = 400;  // the largest double has 309 digits before its point

}  // namespace

std::string shortest(double value) {
  if (!std::isfinite(value)) return {};
  std::array<char, 32> text;
  const auto end = std::to_chars(text.data(), text.data() + text.size(), value).ptr;
  return {text.data(), end};
}

std::string fixed(double value, int decimals) {
  if (!std::isfinite(value)) return "-";
  std::array<char, kLongestFixed> text;
  const auto end = std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed, decimals).ptr;
  std::string result(text.data(), end);
  if (result.front() == '-' && result.find_first_not_of("-0.") == std::string::npos) result.erase(0, 1);
  return result;
}

std::string with_minus(std::string number) {
  if (number.size() > 1 && number.front() == '-') number.replace(0, 1, "\u2212");
  return number;
}

std::string counted(std::size_t count, const std::string& thing) {
  return std::to_string(count) + " " + thing + (count == 1 ? "" : "s");
}

std::string clock_time(double seconds) {
  const auto tenths = static_cast<long long>(std::floor(std::max(seconds, 0.0) * 10));
  const long long minutes = tenths / 600;
  const std::string rest = fixed(static_cast<double>(tenths % 600) / 10, 1);
  return std::to_string(minutes) + (rest.size() < 4 ? ":0" : ":") + rest;
}

}  // namespace kestrine::cli
