#include "ptzmath/ptzmath.h"

#include <cmath>

namespace {
constexpr float kPi = 3.14159265f;
}

void ptzmath_get_zoom_fov(float zoom, float wide_hfov, float aspect_ratio, float *hfov, float *vfov)
{
    // A lens that draws straight lines straight: the half picture is the tangent of the half angle.
    const float magnification = zoom > 0.0f ? zoom : 1.0f;
    const float half_width = std::tan(wide_hfov / 2.0f * kPi / 180.0f) / magnification;
    if (hfov != nullptr)
        *hfov = 2.0f * std::atan(half_width) * 180.0f / kPi;
    if (vfov != nullptr)
        *vfov = aspect_ratio > 0.0f ? 2.0f * std::atan(half_width / aspect_ratio) * 180.0f / kPi : 0.0f;
}
