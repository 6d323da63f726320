// Which points of the reflector's path a continuous measurement takes.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "simulator/frame.h"
#include "simulator/settings.h"

namespace kestrine::simulator {

struct Sample {
  double seconds = 0;  // since the start
  Vector place;
  VL_MeasurementStatus status = VL_MS_AllOK;
};

// Walks along the path. Every step yields a sample at most, so that a caller can stop wherever it likes.
class Sampler {
 public:
  // A mode without a sampler of its own has none: the result is null.
  static std::unique_ptr<Sampler> make(VL_MeasMode mode, const Settings& settings);
  virtual ~Sampler() = default;

  virtual std::optional<Sample> step() = 0;
  // Where the path has been walked to.
  virtual double seconds() const = 0;
  // Points that a block holds when it is to span 100 ms.
  virtual std::size_t points_in_block() const = 0;
  // Steps without waiting for their time, because the separation in time is zero.
  virtual bool is_unpaced() const { return false; }
  // What the last step was instead of one along the path: the trigger's start or stop.
  virtual std::optional<VL_SystemStatusChange> edge() const { return std::nullopt; }
};

// A box or a sphere outside of which nothing is measured.
class Region {
 public:
  // Everywhere, where the mode uses no region.
  static Region of(VL_MeasMode mode, const Settings& settings, const Frame& frame);
  // A place in the tracker's own system, and its values as the frame tells them.
  bool contains(const Vector& place, const Vector& values) const;

 private:
  enum class Shape { kEverywhere, kSphere, kBox } shape_ = Shape::kEverywhere;
  Vector first_;   // a corner as the frame tells it, or the centre in the tracker's own system
  Vector second_;  // the other corner
  double radius_ = 0;
};

// Points asked for; 0: without end.
std::int32_t points_asked_for(VL_MeasMode mode, const Settings& settings);

}  // namespace kestrine::simulator
