// Which points of the reflector's path a continuous measurement takes.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "simulator/tracker/settings.h"

namespace kestrine::simulator {

struct Sample {
  double seconds = 0;  // since the start
  Vector place;
  VL_MeasurementStatus status = VL_MS_AllOK;
};

// Walks along the path. Every step yields a sample at most, so that a caller can stop wherever it likes.
class Sampler {
 public:
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

// --- The trigger inputs. Wired to them are the clock of the world, and a start line that is high for two seconds out
// of three, for the first time half a second after a measurement has been armed.

// As the trigger's settings say: the sampler itself while triggers come from the application, else one that follows
// the lines. Event triggers and the external clock take a point a pulse instead of the mode's own; a pulse sooner
// after the last than the least delay set still yields its point, marked as a violation.
std::unique_ptr<Sampler> triggered(std::unique_ptr<Sampler> own, const Settings& settings);

// A box or a sphere outside of which nothing is measured.
class Region {
 public:
  // By default everywhere.
  Region() = default;
  static Region of(VL_RegionType type, const Settings& settings, const Frame& frame);
  // A place in the tracker's own system, and its values in the frame.
  bool contains(const Vector& place, const Vector& values) const;

 private:
  enum class Shape { kEverywhere, kSphere, kBox } shape_ = Shape::kEverywhere;
  Vector first_;   // a corner in the frame, or the centre in the tracker's own system
  Vector second_;  // the other corner
  double radius_ = 0;
};

// What a mode asks for. One that takes no samples has no sampler.
struct Sampling {
  std::unique_ptr<Sampler> sampler;
  std::int32_t points = 0;  // 0: without end
  Region region;
};
Sampling sampling_of(VL_MeasMode mode, const Settings& settings, const Frame& frame);

}  // namespace kestrine::simulator
