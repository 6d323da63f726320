#include "simulator/messages/quantities.h"

#include <algorithm>
#include <array>

namespace kestrine::simulator {
namespace {

struct Row {
  std::string_view name;
  Quantity quantity;
};

constexpr Quantity kLength = Quantity::kLength;
constexpr Quantity kLengthSquared = Quantity::kLengthSquared;
constexpr Quantity kAngle = Quantity::kAngle;
constexpr Quantity kPosition = Quantity::kPosition;
constexpr Quantity kTemperature = Quantity::kTemperature;

// Shifts and grid steps are lengths along axes, whatever the coordinate system, though named like positions.
constexpr std::array kRows{
    Row{"stationOrientation.dVal1", kLength},
    Row{"stationOrientation.dVal2", kLength},
    Row{"stationOrientation.dVal3", kLength},
    Row{"TransformationData.dVal1", kLength},
    Row{"TransformationData.dVal2", kLength},
    Row{"TransformationData.dVal3", kLength},
    Row{"gridModeData.dVal1", kLength},
    Row{"gridModeData.dVal2", kLength},
    Row{"gridModeData.dVal3", kLength},

    Row{"dVal1", kPosition},
    Row{"dP1Val1", kPosition},
    Row{"dP2Val1", kPosition},

    Row{"dRot1", kAngle},
    Row{"dRot2", kAngle},
    Row{"dRot3", kAngle},
    Row{"dHzAngle", kAngle},
    Row{"dVtAngle", kAngle},
    Row{"dInitialHzAngle", kAngle},
    Row{"dInitialVtAngle", kAngle},
    Row{"dHzAngleDiff", kAngle},
    Row{"dVtAngleDiff", kAngle},
    Row{"dHzAngleRange", kAngle},
    Row{"dVtAngleRange", kAngle},
    Row{"dOmega", kAngle},
    Row{"dPhi", kAngle},
    Row{"dRotVal1", kAngle},
    Row{"dRotVal2", kAngle},
    Row{"dRotVal3", kAngle},
    Row{"dRotStdVal1", kAngle},
    Row{"dRotStdVal2", kAngle},
    Row{"dRotStdVal3", kAngle},
    Row{"dRotationAngleX", kAngle},
    Row{"dRotationAngleY", kAngle},
    Row{"dRotationAngleZ", kAngle},
    Row{"dMeasurementRange", kAngle},
    Row{"dMeasurementAccuracyOffset", kAngle},
    Row{"dFieldOfView", kAngle},
    Row{"dStdDevAngleConst", kAngle},
    Row{"dInclinationIndexL", kAngle},
    Row{"dInclinationIndexC", kAngle},

    Row{"dInitialDistance", kLength},
    Row{"dDistanceDiff", kLength},
    Row{"dTransVal1", kLength},
    Row{"dTransVal2", kLength},
    Row{"dTransVal3", kLength},
    Row{"dTransStdVal1", kLength},
    Row{"dTransStdVal2", kLength},
    Row{"dTransStdVal3", kLength},
    Row{"dTotalRMS", kLength},
    Row{"dRMS", kLength},
    Row{"dMaxDev", kLength},
    Row{"dStd1", kLength},
    Row{"dStd2", kLength},
    Row{"dStd3", kLength},
    Row{"dStdTotal", kLength},
    Row{"dResidualVal1", kLength},
    Row{"dResidualVal2", kLength},
    Row{"dResidualVal3", kLength},
    Row{"dStdDevX", kLength},
    Row{"dStdDevY", kLength},
    Row{"dStdDevZ", kLength},
    Row{"dMaxDistance", kLength},
    Row{"dMinDistance", kLength},
    Row{"dDistance", kLength},
    Row{"dAccuracyADMDistance", kLength},
    Row{"dStdDevDistOffsetADM", kLength},
    Row{"dStdDevAngleOffset", kLength},
    Row{"dTiltraMountOffset", kLength},
    Row{"dSurfaceOffset", kLength},
    Row{"dRadius", kLength},
    Row{"dLength", kLength},
    Row{"dSearchRadius", kLength},
    Row{"dTargetStabilityTolerance", kLength},
    Row{"dSpatialDistance", kLength},

    Row{"dCovar12", kLengthSquared},
    Row{"dCovar13", kLengthSquared},
    Row{"dCovar23", kLengthSquared},

    Row{"dTemperature", kTemperature},
    Row{"dSensorInsideTemperature", kTemperature},
    Row{"dObjectTemperature", kTemperature},
    Row{"dPressure", Quantity::kPressure},
};

const Row* find(std::string_view name) {
  const auto row = std::find_if(kRows.begin(), kRows.end(), [&](const Row& r) { return r.name == name; });
  return row == kRows.end() ? nullptr : &*row;
}

}  // namespace

Quantity quantity_of(std::string_view path) {
  if (const Row* row = find(path)) return row->quantity;
  const Row* row = find(path.substr(path.rfind('.') + 1));
  return row ? row->quantity : Quantity::kNone;
}

}  // namespace kestrine::simulator
