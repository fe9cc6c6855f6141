#include "vcc/zoom_scale.h"

#include "core/fixed_point.h"
#include "core/instance.h"
#include "core/zenta.h"
#include "vcc/model.h"

#include <algorithm>

float ptz_driver_canon_zoom_mag_to_zenta(const PTZDriverCanon *self, float magnification)
{
    const float optical = self->cam_model->max_optical_magnification;
    const float largest = optical * self->max_digital_zoom;
    const float m = std::min(std::max(magnification, 1.0f), largest); // where the two cross, the largest wins
    if (m <= optical)
        return (m - 1.0f) * 9998.0f / (optical - 1.0f) + 1.0f;
    return (m - optical) * 9999.0f / (largest - optical) + 10000.0f;
}

float ptz_driver_canon_zoom_zenta_to_mag(const PTZDriverCanon *self, int zoom)
{
    const float optical = self->cam_model->max_optical_magnification;
    if (zoom == 0)
        return 1.0f;
    const auto position = std::min(static_cast<unsigned>(zoom), static_cast<unsigned>(ZENTA_ZOOM_MAX));
    const float p = static_cast<float>(position);
    if (position <= static_cast<unsigned>(ZENTA_RANGE_MAX))
        return 1.0f + (optical - 1.0f) * (p - 1.0f) / 9998.0f;
    return optical + (optical * self->max_digital_zoom - optical) * (p - 10000.0f) / 9999.0f;
}

int ptz_driver_canon_map2(float x, float a, float b, float c, float p, float q, float r)
{
    if (x > b)
        return truncate_to_int((r - q) * (x - b) / (c - b) + q);
    return truncate_to_int((x - a) * (q - p) / (b - a) + p);
}

int ptz_driver_canon_mirror(float x, float a, float c)
{
    return truncate_to_int(c - (x - a));
}

int ptz_driver_canon_zenta_to_percent(float position)
{
    return truncate_to_int((position - 1.0f) * 100.0f / 9998.0f);
}
