// Drawing in degrees: x is the azimuth, y the elevation. One painter draws one part of what is all around the camera,
// so it is told what of it is seen, and leaves out what is smaller than a pixel.
#pragma once

#include "sim/view/light.h"

#include <cairo.h>
#include <cstdint>
#include <initializer_list>
#include <string_view>

namespace sim::view {

struct Area { // degrees
    double left;
    double bottom;
    double right;
    double top;
};

struct Point {
    double x;
    double y;
};

constexpr double kPi = 3.14159265358979323846;
constexpr double kDegree = kPi / 180;
constexpr double kEyeHeight = 7; // metres above the ground: the camera's

// Where the foot of something stands that is so many metres away, and where a height above the ground is seen there.
double foot_of(double metres_away);
double seen_at(double metres_high, double metres_away);

// Numbers that look random and are always the same: 0 to 1.
double chance(std::uint32_t a, std::uint32_t b = 0);

class Painter {
  public:
    // Draws to `cairo`, whose pixels begin at the area's left and top.
    Painter(cairo_t *cairo, const Area &area, double pixels_per_degree, const Light &light);

    const Area &area() const { return area_; }
    const Light &light() const { return light_; }
    double pixel() const { return 1 / pixels_per_degree_; } // in degrees
    bool sees(const Area &part) const;
    bool shows(double degrees) const { return degrees * pixels_per_degree_ >= 0.7; }

    // How the colour of a thing looks in this light from so many metres away.
    Colour lit(const Colour &colour, double metres_away) const;

    void box(const Area &part, const Colour &colour);
    void polygon(std::initializer_list<Point> corners, const Colour &colour);
    void disc(const Point &centre, double radius, const Colour &colour);
    void ellipse(const Point &centre, double half_width, double half_height, const Colour &colour);
    // A disc that fades away towards its edge.
    void glow(const Point &centre, double half_width, double half_height, const Colour &colour, double strength);
    void line(const Point &from, const Point &to, double width, const Colour &colour);
    // Letters of the scene's own; `place` is the middle of their foot, `height` that of a capital.
    void text(const Point &place, double height, std::string_view words, const Colour &colour);

    cairo_t *cairo() const { return cairo_; }
    void use(const Colour &colour) { cairo_set_source_rgb(cairo_, colour.red, colour.green, colour.blue); }

  private:
    cairo_t *cairo_;
    Area area_;
    double pixels_per_degree_;
    const Light &light_;
};

} // namespace sim::view
