#include "drive/gamepad.h"

#include "failure.h"
#include "glib_owned.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <fcntl.h>
#include <libevdev/libevdev.h>
#include <unistd.h>

namespace {

constexpr char kDevices[] = "/dev/input";
constexpr double kAtRest = 0.12; // of the way; sticks do not come back to the very middle

double curve(double way)
{
    const double beyond = std::max(std::abs(way) - kAtRest, 0.0) / (1 - kAtRest);
    return std::copysign(beyond * beyond, way);
}

} // namespace

PadState::Press PadState::axis(unsigned code, double place)
{
    const double way = place * 2 - 1;
    switch (code) {
    case ABS_X:
        pan_ = way;
        return Press::none;
    case ABS_Y: // down is large
        tilt_ = -way;
        return Press::none;
    case ABS_Z:
    case ABS_BRAKE:
        out_ = place;
        return Press::none;
    case ABS_RZ:
    case ABS_GAS:
        in_ = place;
        return Press::none;
    case ABS_HAT0X:
        return way < -kAtRest ? Press::preset_4 : way > kAtRest ? Press::preset_2 : Press::none;
    case ABS_HAT0Y:
        return way < -kAtRest ? Press::preset_1 : way > kAtRest ? Press::preset_3 : Press::none;
    default:
        return Press::none;
    }
}

PadState::Press PadState::key(unsigned code, bool down)
{
    static constexpr std::pair<unsigned, Press> kPresses[] = {
        {BTN_SOUTH, Press::stop},        {BTN_NORTH, Press::iris_up},       {BTN_WEST, Press::iris_down},
        {BTN_DPAD_UP, Press::preset_1},  {BTN_DPAD_RIGHT, Press::preset_2}, {BTN_DPAD_DOWN, Press::preset_3},
        {BTN_DPAD_LEFT, Press::preset_4}};
    if (code == BTN_TR)
        far_ = down;
    if (code == BTN_TL)
        near_ = down;
    for (const auto &[known, press] : kPresses)
        if (known == code && down)
            return press;
    return Press::none;
}

Speeds PadState::wanted(double percent) const
{
    const std::pair<const char *, double> ways[] = {{"pan", curve(pan_)},
                                                    {"tilt", curve(tilt_)},
                                                    {"zoom", curve(in_) - curve(out_)},
                                                    {"focus", static_cast<double>(far_) - static_cast<double>(near_)}};
    Speeds speeds;
    for (const auto &[axis, way] : ways)
        if (const double speed = std::round(way * percent); speed != 0)
            speeds[axis] = speed;
    return speeds;
}

Gamepad::Gamepad(const std::string &path)
{
    std::string problem = "there is no game controller in " + std::string(kDevices);
    if (!path.empty()) {
        if (open(path, problem))
            return;
        throw Failure(EXIT_REFUSED, "Controller", "'" + printable(path) + "' " + problem);
    }
    const GOwned<GDir, g_dir_close> folder(g_dir_open(kDevices, 0, nullptr));
    while (const char *name = folder ? g_dir_read_name(folder.get()) : nullptr)
        if (std::string ignored; g_str_has_prefix(name, "event") && open(std::string(kDevices) + "/" + name, ignored))
            return;
    throw Failure(EXIT_REFUSED, "Controller", problem);
}

Gamepad::~Gamepad()
{
    libevdev_free(device_);
    if (descriptor_ >= 0)
        close(descriptor_);
}

bool Gamepad::open(const std::string &path, std::string &problem)
{
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    libevdev *device = nullptr;
    const int error = descriptor < 0 ? -errno : libevdev_new_from_fd(descriptor, &device);
    const bool is_pad = error == 0 && libevdev_has_event_code(device, EV_KEY, BTN_GAMEPAD) != 0;
    if (is_pad) {
        descriptor_ = descriptor;
        device_ = device;
        name_ = libevdev_get_name(device);
        return true;
    }
    problem = error == 0 ? "is no game controller" : std::string("cannot be used: ") + g_strerror(-error);
    libevdev_free(device);
    if (descriptor >= 0)
        close(descriptor);
    return false;
}

bool Gamepad::read(std::vector<PadState::Press> &presses)
{
    for (unsigned flag = LIBEVDEV_READ_FLAG_NORMAL;;) {
        input_event event{};
        const int result = libevdev_next_event(device_, flag, &event);
        if (result == -EAGAIN && flag == LIBEVDEV_READ_FLAG_NORMAL)
            return true;
        if (result < 0 && result != -EAGAIN)
            return false;
        // What was lost is told anew until nothing is left.
        flag = result == LIBEVDEV_READ_STATUS_SYNC ? LIBEVDEV_READ_FLAG_SYNC : LIBEVDEV_READ_FLAG_NORMAL;
        if (result == -EAGAIN)
            continue;
        PadState::Press press = PadState::Press::none;
        if (event.type == EV_KEY)
            press = state_.key(event.code, event.value != 0);
        if (const input_absinfo *range = event.type == EV_ABS ? libevdev_get_abs_info(device_, event.code) : nullptr;
            range != nullptr && range->maximum > range->minimum)
            press = state_.axis(event.code, static_cast<double>(event.value - range->minimum) /
                                                static_cast<double>(range->maximum - range->minimum));
        if (press != PadState::Press::none)
            presses.push_back(press);
    }
}
