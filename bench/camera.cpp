#include "bench/camera.h"

#include "core/fixed_point.h"
#include "core/log.h"
#include "driver/type.h"
#include "port/config.h"
#include "vcc/status.h"

#include <csignal>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int LOG_PRIORITY_WARNING = 4;
int messages;

void on_message(int priority, const char *text)
{
    if (priority > LOG_PRIORITY_WARNING)
        return;
    ++messages;
    std::fprintf(stderr, "driver: %s\n", text);
}

// In the simulator's process: it ends with the benchmarks, and its timers are on time.
void prepare_simulator(gpointer)
{
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    prctl(PR_SET_TIMERSLACK, 1);
}

class Simulator {
  public:
    explicit Simulator(Wire wire)
    {
        camera_use_bus();
        char folder[] = "/tmp/ptz-bench-XXXXXX";
        if (g_mkdtemp(folder) == nullptr)
            return;
        folder_ = folder;
        std::string program = KRX_SIM;
        std::string wire_option = "--real-wire-time";
        std::string words[] = {"--board", folder_, "--quiet", "--strict"};
        char *arguments[] = {program.data(),  words[0].data(), words[1].data(),
                             words[2].data(), words[3].data(), wire == Wire::real_time ? wire_option.data() : nullptr,
                             nullptr};
        GError *error = nullptr;
        if (!g_spawn_async_with_pipes(nullptr, arguments, nullptr, G_SPAWN_DO_NOT_REAP_CHILD, prepare_simulator,
                                      nullptr, &pid_, nullptr, &output_, nullptr, &error)) {
            std::fprintf(stderr, "ptz_bench: %s\n", error->message);
            g_error_free(error);
        }
    }

    ~Simulator()
    {
        stop();
        std::filesystem::remove_all(folder_);
    }
    Simulator(const Simulator &) = delete;
    Simulator &operator=(const Simulator &) = delete;

    const std::string &folder() const { return folder_; }

    bool wait_ready()
    {
        std::string text;
        char byte = 0;
        while (output_ >= 0 && read(output_, &byte, 1) == 1) {
            text += byte;
            if (text.ends_with("ready\n"))
                return true;
        }
        std::fprintf(stderr, "ptz_bench: krx-sim does not start: %s\n", text.c_str());
        return false;
    }

    // True when it ended in order and without an offence.
    bool stop()
    {
        if (pid_ <= 0)
            return false;
        kill(pid_, SIGTERM);
        int status = 0;
        waitpid(pid_, &status, 0);
        pid_ = 0;
        close(output_);
        return status == 0;
    }

  private:
    std::string folder_;
    GPid pid_ = 0;
    int output_ = -1;
};

struct Camera {
    explicit Camera(Wire with) : wire(with), simulator(with) {}
    Wire wire;
    Simulator simulator;
    PTZDriverCanon *driver = nullptr;
};

std::unique_ptr<Camera> camera;

PTZDriverCanon *start_driver(const std::string &folder)
{
    g_setenv("PTZ_DATA_DIR", folder.c_str(), TRUE);
    g_setenv("PTZ_BOARD", folder.c_str(), TRUE);
    ptz_port_canon_forget_config();
    vccif_clear_status();
    log_set_sink(on_message);
    PTZDriverCanon *self = ptz_driver_canon_new(1, 1);
    PTZDriver *base = ptz_driver_of(self);
    PTZ_DRIVER_GET_CLASS(base)->install_params(base);
    PTZ_DRIVER_GET_CLASS(base)->open(base);
    return self;
}

PTZMotion absolute(int value)
{
    return {fixed_from_integer(value), {0, 0}, PTZ_MOVE_ABSOLUTE};
}

} // namespace

void camera_use_bus()
{
    static GTestDBus *bus = nullptr;
    if (bus != nullptr)
        return;
    bus = g_test_dbus_new(G_TEST_DBUS_NONE);
    g_test_dbus_up(bus);
    g_setenv("DBUS_SYSTEM_BUS_ADDRESS", g_test_dbus_get_bus_address(bus), TRUE);
}

PTZDriverCanon *camera_driver(Wire wire)
{
    if (camera == nullptr || camera->wire != wire) {
        camera_put_away();
        camera = std::make_unique<Camera>(wire);
        if (camera->simulator.wait_ready())
            camera->driver = start_driver(camera->simulator.folder());
    }
    PTZDriverCanon *driver = camera->driver;
    return driver != nullptr && driver->driver_initialized ? driver : nullptr;
}

bool camera_put_away()
{
    if (camera == nullptr)
        return true;
    if (camera->driver != nullptr) {
        PTZDriver *base = ptz_driver_of(camera->driver);
        PTZ_DRIVER_GET_CLASS(base)->close(base);
        g_object_unref(base);
    }
    const bool good = camera->simulator.stop();
    camera.reset();
    return good;
}

gboolean camera_move(PTZDriverCanon *driver, bool there)
{
    const PTZMotion none{};
    const PTZMotion pan = absolute(there ? 10 : -10);
    const PTZMotion tilt = absolute(there ? 5 : 15);
    const PTZMotion zoom = absolute(there ? 2000 : 4000);
    const PTZSpeed full_speed{};
    PTZDriver *base = ptz_driver_of(driver);
    base->zoom_requested = TRUE;
    return PTZ_DRIVER_GET_CLASS(base)->move(base, &pan, &tilt, &zoom, &none, &none, &none, &full_speed);
}

int camera_messages()
{
    return messages;
}
