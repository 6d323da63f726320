#include "simulator/measuring/sampling.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "simulator/tracker/settings.h"
#include "simulator/tracker/world.h"

namespace kestrine::simulator {
namespace {

constexpr double kFastest = 0.001;     // seconds between readings, when nothing else limits them
constexpr double kBlockSeconds = 0.1;  // that a block spans
constexpr std::size_t kMostPoints = 1000;

using Path = Vector (*)(double seconds);

class ByTime : public Sampler {
 public:
  explicit ByTime(std::int32_t separation) : separation_(separation) {}

  std::optional<Sample> step() override {
    const double at = seconds();
    ++steps_;
    return Sample{at, path_at(at)};
  }
  // Multiplied, not added up: the thousandth point is still on time.
  double seconds() const override { return static_cast<double>(steps_) * (is_unpaced() ? 1 : separation_) / 1000; }
  std::size_t points_in_block() const override {
    if (is_unpaced()) return kMostPoints;
    return static_cast<std::size_t>(std::max(1.0, kBlockSeconds * 1000 / separation_));
  }
  bool is_unpaced() const override { return separation_ == 0; }

 private:
  std::int32_t separation_;  // milliseconds
  std::int64_t steps_ = 0;
};

// Takes a reading a millisecond and keeps those by which the reflector has come far enough.
class ByTravel : public Sampler {
 public:
  explicit ByTravel(Path path) : path_(path) {}

  std::optional<Sample> step() override {
    const double at = seconds();
    const Vector place = path_(at);
    const bool is_first = steps_++ == 0;
    const bool take = is_first || has_come_far_enough(place - last_);
    last_ = place;
    if (!take) return std::nullopt;
    return Sample{at, place};
  }
  double seconds() const override { return static_cast<double>(steps_) * kFastest; }
  std::size_t points_in_block() const override { return kMostPoints; }

 protected:
  virtual bool has_come_far_enough(const Vector& travel) = 0;

 private:
  Path path_;
  std::int64_t steps_ = 0;
  Vector last_;
};

class ByDistance : public ByTravel {
 public:
  ByDistance(double distance, Path path) : ByTravel(path), distance_(distance) {}

 private:
  bool has_come_far_enough(const Vector& travel) override {
    travelled_ += length(travel);
    if (travelled_ < distance_) return false;
    travelled_ = 0;
    return true;
  }

  double distance_;
  double travelled_ = 0;
};

// A grid's cells count along each axis by the way travelled along it, not by planes in space.
class ByGrid : public ByTravel {
 public:
  explicit ByGrid(const Vector& cell) : ByTravel(path_at), cell_(cell) {}

 private:
  bool has_come_far_enough(const Vector& travel) override {
    bool is_far = false;
    for (int i = 0; i < 3; ++i) {
      travelled_[i] += std::abs(travel[i]);
      if (cell_[i] <= 0 || travelled_[i] < cell_[i]) continue;
      travelled_[i] = 0;
      is_far = true;
    }
    return is_far;
  }

  Vector cell_;
  Vector travelled_;
};

}  // namespace

Region Region::of(VL_RegionType type, const Settings& settings, const Frame& frame) {
  Region region;
  if (type == VL_RT_Sphere) {
    const auto sphere = settings.get<SphereRegionDataT>(VL_C_SetSphereRegionParams);
    region.shape_ = Shape::kSphere;
    region.first_ = vector(sphere.dVal1, sphere.dVal2, sphere.dVal3);
    region.radius_ = sphere.dRadius;
  } else {
    // A box is one of coordinates, so in a spherical system it is a piece of a shell.
    const auto box = settings.get<BoxRegionDataT>(VL_C_SetBoxRegionParams, frame);
    region.shape_ = Shape::kBox;
    region.first_ = vector(box.dP1Val1, box.dP1Val2, box.dP1Val3);
    region.second_ = vector(box.dP2Val1, box.dP2Val2, box.dP2Val3);
  }
  return region;
}

bool Region::contains(const Vector& place, const Vector& values) const {
  switch (shape_) {
    case Shape::kSphere:
      return length(place - first_) <= radius_;
    case Shape::kBox:
      return (values.array() >= first_.cwiseMin(second_).array()).all() &&
             (values.array() <= first_.cwiseMax(second_).array()).all();
    default:
      return true;
  }
}

Sampling sampling_of(VL_MeasMode mode, const Settings& settings, const Frame& frame) {
  const auto on_path = [&](std::unique_ptr<Sampler> sampler, const auto& data) {
    return Sampling{std::move(sampler), data.lNumberOfPoints,
                    data.bUseRegion ? Region::of(data.regionType, settings, frame) : Region()};
  };
  const auto on_shape = [](const auto& data, Path path) {
    return Sampling{std::make_unique<ByDistance>(double{data.dSpatialDistance}, path), data.lNumberOfPoints, Region()};
  };
  switch (point_mode(mode)) {
    case VL_MM_ContinuousTime: {
      const auto data = settings.get<ContinuousTimeModeDataT>(VL_C_SetContinuousTimeModeParams);
      return on_path(std::make_unique<ByTime>(std::int32_t{data.lTimeSeparation}), data);
    }
    case VL_MM_ContinuousDistance: {
      const auto data = settings.get<ContinuousDistanceModeDataT>(VL_C_SetContinuousDistanceModeParams);
      return on_path(std::make_unique<ByDistance>(double{data.dSpatialDistance}, path_at), data);
    }
    case VL_MM_Grid: {
      const auto data = settings.get<GridModeDataT>(VL_C_SetGridModeParams);
      return on_path(std::make_unique<ByGrid>(vector(data.dVal1, data.dVal2, data.dVal3)), data);
    }
    case VL_MM_SphereCenter:
      return on_shape(settings.get<SphereCenterModeDataT>(VL_C_SetSphereCenterModeParams), on_ball_at);
    case VL_MM_CircleCenter:
      return on_shape(settings.get<CircleCenterModeDataT>(VL_C_SetCircleCenterModeParams), on_disc_at);
    default:
      return {};
  }
}

}  // namespace kestrine::simulator
