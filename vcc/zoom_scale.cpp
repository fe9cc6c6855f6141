#include "vcc/zoom_scale.h"

#include "core/instance.h"
#include "core/value_map.h"
#include "core/zenta.h"
#include "vcc/model.h"

#include <algorithm>

namespace {

constexpr float OPTICAL_FIRST = real(ZENTA_RANGE_MIN), OPTICAL_LAST = real(ZENTA_RANGE_MAX);
constexpr float DIGITAL_FIRST = real(ZENTA_DIGITAL_ZOOM_MIN), DIGITAL_LAST = real(ZENTA_ZOOM_MAX);

} // namespace

float ptz_driver_canon_zoom_mag_to_zenta(const PTZDriverCanon *self, float magnification)
{
    const float optical = self->cam_model->max_optical_magnification;
    const float largest = optical * self->max_digital_zoom;
    const float m = std::min(std::max(magnification, 1.0f), largest); // where the two cross, the largest wins
    if (m <= optical)
        return linear_map(m, 1.0f, optical, OPTICAL_FIRST, OPTICAL_LAST);
    return linear_map(m, optical, largest, DIGITAL_FIRST, DIGITAL_LAST);
}

float ptz_driver_canon_zoom_zenta_to_mag(const PTZDriverCanon *self, int zoom)
{
    const float optical = self->cam_model->max_optical_magnification;
    if (zoom == 0)
        return 1.0f;
    if (zoom > 0 && zoom <= ZENTA_RANGE_MAX)
        return linear_map(real(zoom), OPTICAL_FIRST, OPTICAL_LAST, 1.0f, optical);
    const float digital = real(zoom < 0 ? ZENTA_ZOOM_MAX : std::min(zoom, ZENTA_ZOOM_MAX));
    return linear_map(digital, DIGITAL_FIRST, DIGITAL_LAST, optical, optical * self->max_digital_zoom);
}
