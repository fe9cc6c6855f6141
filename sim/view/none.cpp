// krx-sim built without the libraries of the picture: --view says so.
#include "sim/view/view.h"

namespace sim {

std::string view_help()
{
    return "\nThis krx-sim was built without --view.\n";
}

struct View::Impl {};

View::View(Board &, ViewOptions)
{
}

View::~View() = default;

std::optional<std::string> View::start()
{
    return "This krx-sim was built without --view: libsoup 3, cairo or turbojpeg were missing";
}

std::string View::address() const
{
    return {};
}

} // namespace sim
