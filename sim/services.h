// What the board's image pipeline tells on the bus beside the camera block: its video mode, and how the picture is
// turned. The bus itself is not here (see sim/bus.h), so that a board runs without one.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace sim {

// In what way a service misbehaves; `fault image-control` and `fault streamer` take them by name, in this order.
enum class ServiceFault : std::uint8_t { missing, error, wrong_type, silent, garbage, late, too_late, new_owner, none };

constexpr bool is_ownership(ServiceFault fault)
{
    return fault == ServiceFault::missing || fault == ServiceFault::new_owner;
}

enum class ServiceChange : std::uint8_t { video_capture_mode, capture_frequency, rotation, faults, reminder };

struct Services {
    std::string video_capture_mode = "1080p60";
    std::uint32_t capture_frequency = 60; // Hz
    std::int32_t rotation = 0;            // degrees

    // Called after every change, from any thread, with the board locked: it must not call back.
    std::function<void(ServiceChange)> changed{};

    void tell(ServiceChange what) const
    {
        if (changed)
            changed(what);
    }
};

} // namespace sim
