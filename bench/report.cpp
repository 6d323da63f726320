#include "bench/report.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iostream>
#include <utility>

namespace kestrine::bench {
namespace {

void print(const char* what, const Spread& spread, int decimals, const char* unit) {
  if (std::isnan(spread.median)) return;
  std::printf("  %-44s %10.*f  [%.*f %.*f] %s\n", what, decimals, spread.median, decimals, spread.low, decimals,
              spread.high, unit);
}

// `combine` of the two in each round.
template <class Combine>
Spread spread_of_rounds(const Samples& above, const Samples& below, Combine combine) {
  Samples all(std::min(above.size(), below.size()));
  std::transform(above.begin(), above.begin() + static_cast<std::ptrdiff_t>(all.size()), below.begin(), all.begin(),
                 combine);
  return spread_of(all);
}

}  // namespace

Spread spread_of(Samples samples) {
  if (samples.empty()) return {std::nan(""), std::nan(""), std::nan("")};
  std::ranges::sort(samples);
  const auto at = [&](double part) {
    const double place = part * static_cast<double>(samples.size() - 1);
    const auto below = static_cast<std::size_t>(place);
    const std::size_t above = std::min(below + 1, samples.size() - 1);
    return std::lerp(samples[below], samples[above], place - std::floor(place));
  };
  return {at(0.25), at(0.5), at(0.75)};
}

bool Report::ReportContext(const Context& context) {
  if (!std::exchange(has_context_, true)) PrintBasicContext(&std::cerr, context);
  return true;
}

void Report::ReportRuns(const std::vector<Run>& runs) {
  if (runs.front().run_type == Run::RT_Aggregate) return;
  const std::string name = runs.front().run_name.function_name.substr(3);
  if (!samples_.contains(name)) names_.push_back(name);
  for (const Run& run : runs) {
    samples_[name].push_back(run.GetAdjustedRealTime() / benchmark::GetTimeUnitMultiplier(run.time_unit));
    for (const auto& [counter, value] : run.counters) samples_[name + "/" + counter].push_back(value);
  }
}

void Report::times() const {
  for (const std::string& name : names_) {
    const Spread spread = spread_of(samples(name));
    const bool is_long = spread.median > 1e-3;
    const double scale = is_long ? 1e3 : 1e9;
    print(name.c_str(), {spread.low * scale, spread.median * scale, spread.high * scale}, is_long ? 3 : 1,
          is_long ? "ms" : "ns");
  }
}

void Report::ratio(const char* what, const char* above, const char* below) const {
  print(what, spread_of_rounds(samples(above), samples(below), [](double a, double b) { return a / b; }), 3, "");
}

void Report::beyond(const char* what, const char* above, const char* below, int calls) const {
  const auto difference = [calls](double a, double b) { return (a - b) * 1e9 / calls; };
  print(what, spread_of_rounds(samples(above), samples(below), difference), 1, "ns");
}

void Report::nanoseconds(const char* what, const char* name) const {
  const Spread spread = spread_of(samples(name));
  print(what, {spread.low * 1e9, spread.median * 1e9, spread.high * 1e9}, 1, "ns");
}

void Report::counter(const char* what, const char* name, const char* counter, const char* unit) const {
  print(what, spread_of(samples(std::string(name) + "/" + counter)), 0, unit);
}

const Samples& Report::samples(const std::string& name) const {
  static const Samples none;
  const auto found = samples_.find(name);
  return found == samples_.end() ? none : found->second;
}

}  // namespace kestrine::bench
