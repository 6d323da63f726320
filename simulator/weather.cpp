#include "simulator/weather.h"

namespace kestrine::simulator {

RefractionDataT refraction(const EnvironmentDataT& weather) {
  // Standard air's refractivity at 15 degrees and one atmosphere, for red laser light and for the distance meter's
  // infrared, carried over by the density; water vapour takes a little away.
  constexpr double kRed = 276.4e-6;
  constexpr double kInfrared = 274.1e-6;
  const double density = weather.dPressure / 1013.25 * 288.15 / (273.15 + weather.dTemperature);
  const double vapour = 1e-8 * weather.dHumidity;
  return {1 + kRed * density - vapour, 1 + kInfrared * density - vapour};
}

bool refraction_follows_weather(const Settings& settings) {
  return settings.get<SystemSettingsDataT>(VL_C_SetSystemSettings).weatherMonitorStatus ==
         VL_WMS_ReadAndCalculateRefractions;
}

}  // namespace kestrine::simulator
