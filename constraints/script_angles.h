// Scripts speak in degrees.
#pragma once

// Single precision of pi / 180, as poses recorded with earlier builds used it.
constexpr float kRadiansPerDegree = 0.01745329238474369f;
