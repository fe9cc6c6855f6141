// What the light of a scene makes of its colours: the sky, what things look like, how far lamps are lit. Brightness is
// not in it: that is the exposure's.
#pragma once

namespace sim::view {

struct Colour { // 0 to 1 each
    double red;
    double green;
    double blue;
};

constexpr Colour operator*(const Colour &a, const Colour &b)
{
    return {a.red * b.red, a.green * b.green, a.blue * b.blue};
}
constexpr Colour operator*(const Colour &colour, double factor)
{
    return colour * Colour{factor, factor, factor};
}
// `share` of b in a: 0 is a, 1 is b.
constexpr Colour mix(const Colour &a, const Colour &b, double share)
{
    return {a.red + (b.red - a.red) * share, a.green + (b.green - a.green) * share, a.blue + (b.blue - a.blue) * share};
}
// #RRGGBB as a number.
constexpr Colour rgb(unsigned value)
{
    return Colour{(value >> 16 & 255) / 255.0, (value >> 8 & 255) / 255.0, (value & 255) / 255.0};
}

struct Light {
    double stops;   // the scene's light
    Colour zenith;  // the sky straight above
    Colour middle;  // and at 20 degrees
    Colour horizon; // and far away
    Colour ambient; // what white looks like
    Colour cloud;
    double lamps; // 0: out, 1: lit
    double stars; // 0 to 1
};

// The light of so many stops, -7 (a night without a moon) to 22 (snow in the sun).
Light light_of(double stops);

} // namespace sim::view
