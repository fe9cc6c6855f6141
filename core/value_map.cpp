#include "core/value_map.h"

#include "core/fixed_point.h"
#include "core/zenta.h"

int ptz_driver_canon_map2(float x, float a, float b, float c, float p, float q, float r)
{
    return truncate_to_int(x > b ? linear_map(x, b, c, q, r) : linear_map(x, a, b, p, q));
}

int ptz_driver_canon_mirror(float x, float a, float c)
{
    return truncate_to_int(c - (x - a));
}

int ptz_driver_canon_zenta_to_percent(float position)
{
    return truncate_to_int(linear_map(position, real(ZENTA_RANGE_MIN), real(ZENTA_RANGE_MAX), 0.0f, 100.0f));
}
