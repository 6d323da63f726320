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

// Keeps what every round of every bench took. What two of them have to do with each other is taken within a round, so
// that what else the machine does at the time touches both alike; the medians and quartiles are those of the rounds.
// Lines of benches that were not run are left out.
class Report final : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context& context) override;
  void ReportRuns(const std::vector<Run>& runs) override;

  void times() const;  // a line for every bench
  void ratio(const char* what, const char* above, const char* below) const;
  // What one costs beyond the other, for each of so many calls in a round.
  void beyond(const char* what, const char* above, const char* below, int calls) const;
  void nanoseconds(const char* what, const char* name) const;
  void counter(const char* what, const char* name, const char* counter, const char* unit) const;

 private:
  const Samples& samples(const std::string& name) const;

  bool has_context_ = false;
  std::vector<std::string> names_;
  std::map<std::string, Samples> samples_;  // seconds by the names of benches without BM_; counters by "name/counter"
};

}  // namespace kestrine::bench
