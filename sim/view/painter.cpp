#include "sim/view/painter.h"

#include "sim/view/lettering.h"

#include <cmath>

namespace sim::view {

double foot_of(double metres_away)
{
    return seen_at(0, metres_away);
}

double seen_at(double metres_high, double metres_away)
{
    return std::atan2(metres_high - kEyeHeight, metres_away) / kDegree;
}

double chance(std::uint32_t a, std::uint32_t b)
{
    std::uint32_t mixed = a * 0x9E3779B1u ^ (b + 0x7F4A7C15u) * 0x85EBCA6Bu;
    mixed = (mixed ^ mixed >> 15) * 0x2C1B3C6Du;
    mixed = (mixed ^ mixed >> 12) * 0x297A2D39u;
    return (mixed ^ mixed >> 15) / 4294967296.0;
}

Painter::Painter(cairo_t *cairo, const Area &area, double pixels_per_degree, const Light &light)
    : cairo_(cairo), area_(area), pixels_per_degree_(pixels_per_degree), light_(light)
{
    cairo_scale(cairo_, pixels_per_degree, -pixels_per_degree);
    cairo_translate(cairo_, -area.left, -area.top);
}

bool Painter::sees(const Area &part) const
{
    return part.left < area_.right && part.right > area_.left && part.bottom < area_.top && part.top > area_.bottom;
}

Colour Painter::lit(const Colour &colour, double metres_away) const
{
    constexpr double kClear = 1800; // metres
    return mix(colour * light_.ambient, light_.horizon, 1 - std::exp(-metres_away / kClear));
}

void Painter::box(const Area &part, const Colour &colour)
{
    if (!sees(part))
        return;
    use(colour);
    cairo_rectangle(cairo_, part.left, part.bottom, part.right - part.left, part.top - part.bottom);
    cairo_fill(cairo_);
}

void Painter::polygon(std::initializer_list<Point> corners, const Colour &colour)
{
    use(colour);
    for (const Point &corner : corners)
        cairo_line_to(cairo_, corner.x, corner.y);
    cairo_fill(cairo_);
}

void Painter::disc(const Point &centre, double radius, const Colour &colour)
{
    ellipse(centre, radius, radius, colour);
}

void Painter::ellipse(const Point &centre, double half_width, double half_height, const Colour &colour)
{
    if (!sees({centre.x - half_width, centre.y - half_height, centre.x + half_width, centre.y + half_height}))
        return;
    use(colour);
    cairo_save(cairo_);
    cairo_translate(cairo_, centre.x, centre.y);
    cairo_scale(cairo_, half_width, half_height);
    cairo_arc(cairo_, 0, 0, 1, 0, 2 * kPi);
    cairo_restore(cairo_);
    cairo_fill(cairo_);
}

void Painter::glow(const Point &centre, double half_width, double half_height, const Colour &colour, double strength)
{
    if (!sees({centre.x - half_width, centre.y - half_height, centre.x + half_width, centre.y + half_height}))
        return;
    cairo_pattern_t *fading = cairo_pattern_create_radial(0, 0, 0, 0, 0, 1);
    for (const double at : {0.0, 0.35, 0.7, 1.0})
        cairo_pattern_add_color_stop_rgba(fading, at, colour.red, colour.green, colour.blue,
                                          strength * (1 - at) * (1 - at * at));
    cairo_save(cairo_);
    cairo_translate(cairo_, centre.x, centre.y);
    cairo_scale(cairo_, half_width, half_height);
    cairo_set_source(cairo_, fading);
    cairo_rectangle(cairo_, -1, -1, 2, 2);
    cairo_fill(cairo_);
    cairo_restore(cairo_);
    cairo_pattern_destroy(fading);
}

void Painter::line(const Point &from, const Point &to, double width, const Colour &colour)
{
    use(colour);
    cairo_set_line_width(cairo_, width);
    cairo_move_to(cairo_, from.x, from.y);
    cairo_line_to(cairo_, to.x, to.y);
    cairo_stroke(cairo_);
}

void Painter::text(const Point &place, double height, std::string_view words, const Colour &colour)
{
    const double width = lettering_width(words) * height;
    if (!shows(height / 4) ||
        !sees({place.x - width / 2, place.y - height / 2, place.x + width / 2, place.y + height * 1.5}))
        return;
    use(colour);
    cairo_save(cairo_);
    cairo_translate(cairo_, place.x - width / 2, place.y);
    cairo_scale(cairo_, height, height);
    trace_lettering(cairo_, words);
    cairo_set_line_width(cairo_, 0.15);
    cairo_set_line_cap(cairo_, CAIRO_LINE_CAP_ROUND);
    cairo_set_line_join(cairo_, CAIRO_LINE_JOIN_ROUND);
    cairo_stroke(cairo_);
    cairo_restore(cairo_);
}

} // namespace sim::view
