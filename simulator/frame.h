// The coordinate system that a client has set: type, units, station orientation and transformation.
#pragma once

#include <cstdint>

#include "protocol/catalogue.h"
#include "simulator/geometry.h"
#include "simulator/units.h"

namespace kestrine::simulator {

// A default frame is the tracker's own: right-handed, metres, radians, degrees Celsius, millibar.
struct Frame {
  VL_LengthUnit length = VL_LU_Meter;
  VL_AngleUnit angle = VL_AU_Radian;
  VL_TemperatureUnit temperature = VL_TU_Celsius;
  VL_PressureUnit pressure = VL_PU_Mbar;
  VL_CoordinateSystemType type = VL_CS_RHR;
  Pose orientation;     // where the station stands: applied to what was measured first
  Pose transformation;  // from there into the part's system

  SystemUnitsDataT units() const;
  // Cylindrical systems say horizontal angle, radius, height; spherical ones horizontal angle, angle from the
  // zenith, distance. Clockwise systems count the horizontal angle clockwise as seen from above.
  Vector to_outside(const Vector& point) const;
  Vector to_inside(const Vector& values) const;
  // Of a body, whose axes in the tracker's own system are the columns. In a left-handed system both the body's axes
  // and the system's are counted with one of them inverted, so that it stays a rotation.
  Matrix attitude_outside(const Matrix& attitude) const;
  // A covariance of the tracker's own X, Y, Z at a point, as one of the three values told outside.
  Matrix covariance_outside(const Vector& point, const Matrix& covariance) const;

  friend bool operator==(const Frame&, const Frame&) = default;
};

// Rewrites the doubles of a packet from one frame to another, telling lengths, angles, temperatures and points
// apart by the names of the fields. Where a value's units are the same in both it is not touched at all, and no more
// are marks.
void convert(const protocol::TypeRow& record, std::uint8_t* packet, const Frame& from, const Frame& to);

}  // namespace kestrine::simulator
