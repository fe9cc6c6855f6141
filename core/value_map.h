// Straight maps from one value scale onto another.
//
// All compute in single precision, one operation after another in the order written, and clamp nothing.
#pragma once

constexpr float real(int value)
{
    return static_cast<float>(value);
}

// Maps a..c onto p..r in a straight line. a and c differ; either scale may run downwards.
constexpr float linear_map(float x, float a, float c, float p, float r)
{
    return (r - p) * (x - a) / (c - a) + p;
}

// Maps a < b < c onto p, q, r in two straight pieces that meet at b, cut towards zero.
int ptz_driver_canon_map2(float x, float a, float b, float c, float p, float q, float r);

// c - (x - a), cut towards zero: the other way round in a..c.
int ptz_driver_canon_mirror(float x, float a, float c);

// Position 1..9999 to percent 0..100, cut towards zero.
int ptz_driver_canon_zenta_to_percent(float position);
