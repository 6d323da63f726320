// Hears what a tracker sends by itself: the points of a continuous measurement, and that it has to give up.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "cli/measurement.h"
#include "kestrine/kestrine.h"

namespace kestrine::cli {

class Listener : public SyncEvents {
 public:
  // Both outlive the sink's subscription. Points are appended, with seconds since the first one.
  Listener(ILTConnect& connection, std::vector<Point>& points) : connection_(connection), points_(points) {}

  // Why no more points will come; empty while they may.
  const std::string& failure() const { return failure_; }
  // Whether the reason is that nobody is there any more.
  bool lost() const { return lost_; }

  void ContinuousPointMeasDataReady(std::int32_t resultsTotal, std::int32_t bytesTotal) override;
  void StatusChangeEvent(VL_SystemStatusChange statusChange) override;
  void ErrorEvent(VL_Command command, VL_ResultStatus status) override;

 private:
  void take_block();

  ILTConnect& connection_;
  std::vector<Point>& points_;
  std::optional<double> first_seconds_;
  std::string failure_;
  bool lost_ = false;
};

}  // namespace kestrine::cli
