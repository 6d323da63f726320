#include "cli/output/progress.h"

#include <algorithm>
#include <cmath>
#include <ostream>
#include <string>

#include "cli/common/format.h"

namespace kestrine::cli {
namespace {

constexpr double kSecondsBetweenLines = 0.1;
constexpr int kBarCells = 24;
constexpr const char* kClearLine = "\r\x1b[K";

std::string bar(double share) {
  const int full = static_cast<int>(std::lround(share * kBarCells));
  std::string cells;
  for (int i = 0; i < kBarCells; ++i) cells += i < full ? "█" : "░";
  return cells;
}

}  // namespace

Progress::Progress(std::ostream& out, bool shown, Goal goal) : out_(out), shown_(shown), goal_(goal) {}

Progress::~Progress() {
  clear();
}

double Progress::share_done(std::size_t points, double seconds) const {
  double share = 0;
  if (goal_.points > 0) share = static_cast<double>(points) / static_cast<double>(goal_.points);
  if (goal_.seconds > 0) share = std::max(share, seconds / goal_.seconds);
  return std::clamp(share, 0.0, 1.0);
}

void Progress::update(std::size_t points, double seconds) {
  if (!shown_ || (drawn_ && seconds < next_)) return;
  next_ = seconds + kSecondsBetweenLines;
  drawn_ = true;
  out_ << kClearLine;
  if (goal_.points > 0 || goal_.seconds > 0) out_ << bar(share_done(points, seconds)) << "  ";
  if (goal_.uncounted) {
    out_ << "measuring   ";
  } else {
    out_ << points;
    if (goal_.points > 0) out_ << " of " << goal_.points;
    const double rate = seconds > 0 ? static_cast<double>(points) / seconds : 0;
    out_ << " points   " << fixed(rate, rate < 100 ? 1 : 0) << "/s   ";
  }
  out_ << clock_time(seconds) << std::flush;
}

void Progress::clear() {
  if (!drawn_) return;
  drawn_ = false;
  out_ << kClearLine << std::flush;
}

}  // namespace kestrine::cli
