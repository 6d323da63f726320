// What the rounds of every bench come to: medians, and the quartiles beside them.
#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

namespace kestrine::bench {

using Samples = std::vector<double>;

struct Spread {
  double low, median, high;  // the quartiles; not numbers when nothing was measured
};
Spread spread_of(Samples samples);

// Prints a line for every bench, and keeps what its rounds took for the lines that compare two of them. Those are
// printed only if both were run.
class Report final : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context& context) override;
  void ReportRuns(const std::vector<Run>& runs) override;

  // The median of one by that of the other. As rounds come in random order, its quartiles are those of any round of the
  // one by any of the other.
  void ratio(const char* what, const char* above, const char* below) const;
  // What one costs beyond the other, for each of so many calls in a round.
  void beyond(const char* what, const char* above, const char* below, int calls) const;
  void nanoseconds(const char* what, const char* name) const;
  void counter(const char* what, const char* name, const char* counter, const char* unit) const;

 private:
  const Samples& samples(const std::string& name) const;

  std::map<std::string, Samples> samples_;  // seconds by the names of benches without BM_; counters by "name/counter"
};

}  // namespace kestrine::bench
