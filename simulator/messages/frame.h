// The coordinate system that a client has set: type, units, station orientation and transformation.
#pragma once

#include <cstdint>

#include "protocol/catalogue.h"
#include "simulator/mathematics/geometry.h"
#include "simulator/messages/units.h"

namespace kestrine::simulator {

// Standard deviations and covariances of three values, as results carry them.
struct Uncertainty {
  Vector deviations;
  double total = 0;  // of a place: its distance from the truth, a length whatever the coordinate system
  double covariance12 = 0;
  double covariance13 = 0;
  double covariance23 = 0;

  Uncertainty() = default;
  Uncertainty(const Matrix& covariance, double of_place);
};

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
  Vector to_values(const Vector& place) const;
  Vector to_place(const Vector& values) const;
  // Of a body, whose axes in the tracker's own system are the columns. In a left-handed system both the body's axes
  // and the system's are counted with one of them inverted, so that it stays a rotation.
  Matrix to_attitude(const Matrix& attitude) const;
  // Of a place whose X, Y, Z in the tracker's own system have that covariance.
  Uncertainty uncertainty(const Vector& place, const Matrix& covariance) const;

  friend bool operator==(const Frame&, const Frame&) = default;
};

// Rewrites the doubles of a packet from one frame to another. A value whose units are the same in both stays as it is
// to the last bit, and so does what only stands for a deviation.
void convert(const protocol::TypeRow& record, std::uint8_t* packet, const Frame& from, const Frame& to);

}  // namespace kestrine::simulator
