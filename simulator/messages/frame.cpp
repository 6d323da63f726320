#include "simulator/messages/frame.h"

#include <cmath>
#include <numbers>
#include <utility>

#include "kestrine/wire.h"

namespace kestrine::simulator {
namespace {

double sense(VL_CoordinateSystemType type) {
  return type == VL_CS_CCW || type == VL_CS_SCW ? -1 : 1;
}

bool same_units(Quantity quantity, const Frame& a, const Frame& b) {
  const auto scale = [&](const Frame& frame) {
    return std::pair(to_units(quantity, 0, frame.units()), to_units(quantity, 1, frame.units()));
  };
  return scale(a) == scale(b);
}

Vector load_vector(const std::uint8_t* at) {
  return {wire::load_f64(at), wire::load_f64(at + 8), wire::load_f64(at + 16)};
}

void store_vector(std::uint8_t* at, const Vector& value) {
  for (int i = 0; i < 3; ++i) wire::store_f64(at + 8 * i, value[i]);
}

// Left-handed systems are right-handed ones with an axis inverted.
Vector handedness(VL_CoordinateSystemType type) {
  return {type == VL_CS_LHRX ? -1.0 : 1.0, type == VL_CS_LHRY ? -1.0 : 1.0, type == VL_CS_LHRZ ? -1.0 : 1.0};
}

}  // namespace

Uncertainty::Uncertainty(const Matrix& covariance, double of_place)
    : deviations(covariance.diagonal().cwiseSqrt()),
      total(of_place),
      covariance12(covariance(0, 1)),
      covariance13(covariance(0, 2)),
      covariance23(covariance(1, 2)) {}

SystemUnitsDataT Frame::units() const {
  return {length, angle, temperature, pressure, VL_HU_RH};
}

Vector Frame::to_values(const Vector& place) const {
  const Vector p = transformation.apply(orientation.apply(place));
  const double per_metre = length_factor(length);
  const double per_radian = angle_factor(angle);
  switch (type) {
    case VL_CS_CCW:
    case VL_CS_CCC:
      return {per_radian * sense(type) * std::atan2(p.y(), p.x()), per_metre * std::hypot(p.x(), p.y()),
              per_metre * p.z()};
    case VL_CS_SCW:
    case VL_CS_SCC: {
      const Polar polar = to_polar(p);
      return {per_radian * sense(type) * polar.horizontal, per_radian * polar.vertical, per_metre * polar.distance};
    }
    default:
      return per_metre * handedness(type).cwiseProduct(p);
  }
}

Vector Frame::to_place(const Vector& values) const {
  const double metres = 1 / length_factor(length);
  const double radians = 1 / angle_factor(angle);
  const double horizontal = radians * sense(type) * values.x();
  Vector p = handedness(type).cwiseProduct(metres * values);
  if (type == VL_CS_CCW || type == VL_CS_CCC) {
    p.head<2>() = metres * values.y() * Eigen::Vector2d{std::cos(horizontal), std::sin(horizontal)};
  } else if (type == VL_CS_SCW || type == VL_CS_SCC) {
    p = to_vector({horizontal, radians * values.y(), metres * values.z()});
  }
  return orientation.undo(transformation.undo(p));
}

Matrix Frame::to_attitude(const Matrix& attitude) const {
  const Vector mirror = handedness(type);
  return mirror.asDiagonal() * (transformation.rotation * orientation.rotation * attitude) * mirror.asDiagonal();
}

Uncertainty Frame::uncertainty(const Vector& place, const Matrix& covariance) const {
  const double here = to_values(place).x();
  const double whole = 2 * std::numbers::pi * angle_factor(angle);
  const bool first_is_angle = type >= VL_CS_CCW && type <= VL_CS_SCC;
  // Beside the half turn the angle jumps; seen from the place it goes on.
  const auto unbroken = [&](const Vector& near) {
    Vector values = to_values(near);
    if (first_is_angle) values.x() = here + std::remainder(values.x() - here, whole);
    return values;
  };
  return {propagate(unbroken, place, covariance),
          std::sqrt(covariance.trace()) * transformation.scale * length_factor(length)};
}

void convert(const protocol::TypeRow& record, std::uint8_t* packet, const Frame& from, const Frame& to) {
  if (from == to) return;
  const SystemUnitsDataT from_set = from.units();
  const SystemUnitsDataT to_set = to.units();
  const auto fields = protocol::leaves_of(record);
  for (std::size_t i = 0; i < fields.size(); ++i) {
    const protocol::Value& field = fields[i];
    std::uint8_t* at = packet + field.offset;
    if (field.quantity == Quantity::kPosition) {
      store_vector(at, to.to_values(from.to_place(load_vector(at))));
      i += 2;
      continue;
    }
    if (field.type != protocol::ValueType::kDouble || same_units(field.quantity, from, to)) continue;
    if (is_approximate(wire::load_f64(at))) continue;
    wire::store_f64(at, to_units(field.quantity, from_units(field.quantity, wire::load_f64(at), from_set), to_set));
  }
}

}  // namespace kestrine::simulator
