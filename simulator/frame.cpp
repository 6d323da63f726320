#include "simulator/frame.h"

#include <cmath>
#include <numbers>

#include "kestrine/wire.h"
#include "simulator/marks.h"

namespace kestrine::simulator {
namespace {

double sense(VL_CoordinateSystemType type) {
  return type == VL_CS_CCW || type == VL_CS_SCW ? -1 : 1;
}

bool same_units(Quantity quantity, const Frame& a, const Frame& b) {
  switch (quantity) {
    case Quantity::kLength:
    case Quantity::kSquaredLength:
      return a.length == b.length;
    case Quantity::kAngle:
      return a.angle == b.angle;
    case Quantity::kTemperature:
      return a.temperature == b.temperature;
    case Quantity::kPressure:
      return a.pressure == b.pressure;
    case Quantity::kPosition:
      return a == b;
    default:
      return true;
  }
}

Vector load_vector(const std::uint8_t* at) {
  return {wire::load_f64(at), wire::load_f64(at + 8), wire::load_f64(at + 16)};
}

void store_vector(std::uint8_t* at, const Vector& value) {
  wire::store_f64(at, value.x);
  wire::store_f64(at + 8, value.y);
  wire::store_f64(at + 16, value.z);
}

}  // namespace

SystemUnitsDataT Frame::units() const {
  SystemUnitsDataT units;
  units.lenUnitType = length;
  units.angUnitType = angle;
  units.tempUnitType = temperature;
  units.pressUnitType = pressure;
  units.humUnitType = VL_HU_RH;
  return units;
}

Vector Frame::to_outside(const Vector& point) const {
  const Vector p = transformation.apply(orientation.apply(point));
  const double per_metre = length_factor(length);
  const double per_radian = angle_factor(angle);
  switch (type) {
    case VL_CS_LHRX:
      return per_metre * Vector{-p.x, p.y, p.z};
    case VL_CS_LHRY:
      return per_metre * Vector{p.x, -p.y, p.z};
    case VL_CS_LHRZ:
      return per_metre * Vector{p.x, p.y, -p.z};
    case VL_CS_CCW:
    case VL_CS_CCC:
      return {per_radian * sense(type) * std::atan2(p.y, p.x), per_metre * std::hypot(p.x, p.y), per_metre * p.z};
    case VL_CS_SCW:
    case VL_CS_SCC: {
      const Polar polar = to_polar(p);
      return {per_radian * sense(type) * polar.horizontal, per_radian * polar.vertical, per_metre * polar.distance};
    }
    default:
      return per_metre * p;
  }
}

Vector Frame::to_inside(const Vector& values) const {
  const double metres = 1 / length_factor(length);
  const double radians = 1 / angle_factor(angle);
  const double horizontal = radians * sense(type) * values.x;
  Vector p = metres * values;
  switch (type) {
    case VL_CS_LHRX:
      p.x = -p.x;
      break;
    case VL_CS_LHRY:
      p.y = -p.y;
      break;
    case VL_CS_LHRZ:
      p.z = -p.z;
      break;
    case VL_CS_CCW:
    case VL_CS_CCC:
      p = {metres * values.y * std::cos(horizontal), metres * values.y * std::sin(horizontal), metres * values.z};
      break;
    case VL_CS_SCW:
    case VL_CS_SCC:
      p = to_vector({horizontal, radians * values.y, metres * values.z});
      break;
    default:
      break;
  }
  return orientation.undo(transformation.undo(p));
}

Matrix Frame::attitude_outside(const Matrix& attitude) const {
  Matrix mirror = kIdentity;
  if (type == VL_CS_LHRX) mirror[0][0] = -1;
  if (type == VL_CS_LHRY) mirror[1][1] = -1;
  if (type == VL_CS_LHRZ) mirror[2][2] = -1;
  return mirror * transformation.turn * orientation.turn * attitude * mirror;
}

Matrix Frame::covariance_outside(const Vector& point, const Matrix& covariance) const {
  const double here = to_outside(point).x;
  const double turn = 2 * std::numbers::pi * angle_factor(angle);
  const bool first_is_angle = type >= VL_CS_CCW && type <= VL_CS_SCC;
  // Beside the half turn the angle jumps; seen from the point it goes on.
  const auto unbroken = [&](const Vector& near) {
    Vector values = to_outside(near);
    if (first_is_angle) values.x = here + std::remainder(values.x - here, turn);
    return values;
  };
  return propagate(unbroken, point, covariance);
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
      if (!same_units(field.quantity, from, to)) store_vector(at, to.to_outside(from.to_inside(load_vector(at))));
      i += 2;
      continue;
    }
    if (field.type != protocol::ValueType::kDouble || same_units(field.quantity, from, to)) continue;
    if (is_approximate(wire::load_f64(at))) continue;
    wire::store_f64(at, to_units(field.quantity, from_units(field.quantity, wire::load_f64(at), from_set), to_set));
  }
}

}  // namespace kestrine::simulator
