// Air and light.
#pragma once

#include "simulator/settings.h"

namespace kestrine::simulator {

// The refraction indices of air of that weather.
RefractionDataT refraction(const EnvironmentDataT& weather);
// Whether the weather monitor is set to keep them up to date.
bool refraction_follows_weather(const Settings& settings);

}  // namespace kestrine::simulator
