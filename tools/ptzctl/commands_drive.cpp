// drive: the camera by hand, from a terminal or a game controller.
#include "command.h"
#include "drive/driven_camera.h"
#include "drive/gamepad.h"
#include "drive/screen.h"
#include "loop.h"

#include <algorithm>
#include <csignal>
#include <glib-unix.h>
#include <unistd.h>
#include <utility>

namespace {

constexpr unsigned kLookEveryMs = 20;
constexpr unsigned kTicksPerQuestion = 5;
constexpr auto kReadable = static_cast<GIOCondition>(G_IO_IN | G_IO_HUP | G_IO_ERR);
constexpr double kSpeedStep = 10; // percent
constexpr double kIrisStep = 200; // positions

class Drive {
  public:
    Drive(Context &context, const Arguments &arguments) : camera_(context.service())
    {
        if (arguments.flag("--gamepad") || arguments.flag("--gamepad-device"))
            pad_ = std::make_unique<Gamepad>(arguments.value("--gamepad-device").value_or(""));
        percent_ = arguments.number("--speed").value_or(percent_);
        std::signal(SIGQUIT, [](int) { std::raise(SIGTERM); }); // of which the main loop can be told
        screen_ = std::make_unique<Screen>();
        sources_ = {g_unix_fd_add(STDIN_FILENO, kReadable, on_keys, this),
                    g_unix_signal_add(SIGWINCH, on_resized, this), g_unix_signal_add(SIGHUP, on_hangup, this)};
        if (pad_)
            pad_source_ = g_unix_fd_add(pad_->descriptor(), kReadable, on_pad, this);
    }
    ~Drive() { hear_nothing(); }
    Drive(const Drive &) = delete;
    Drive &operator=(const Drive &) = delete;

    // Until the person ends it, or the terminal has gone. False when it could not be said to the service that the
    // camera is to stand.
    bool run()
    {
        run_loop(kLookEveryMs, [this] {
            held_.look(steady_now());
            follow();
            if (ticks_++ % kTicksPerQuestion == 0) {
                camera_.look();
                screen_->show(camera_, percent_, pad_ ? (pad_source_ != 0 ? pad_->name() : "controller gone") : "");
            }
            return !over_;
        });
        camera_.leave();
        hear_nothing();
        screen_.reset(); // a service that hangs is waited for without it: Ctrl-C ends that again
        run_loop(kLookEveryMs, [this] { return !camera_.left(); });
        return camera_.left().value_or(false);
    }

  private:
    void hear_nothing()
    {
        for (guint *source : {&sources_[0], &sources_[1], &sources_[2], &pad_source_})
            if (*source != 0)
                g_source_remove(std::exchange(*source, 0));
    }

    void follow()
    {
        Speeds wanted = held_.wanted(percent_);
        if (pad_)
            wanted.merge(pad_->state().wanted(percent_));
        camera_.drive(wanted);
    }

    void press(const KeyEvent &event)
    {
        if (event.key == kTellsReleases)
            return held_.tells_releases();
        if (event.key == kFocusLost)
            return held_.let_go();
        if (held_.take(event, steady_now()) || event.released)
            return;
        switch (event.key) {
        case U'+':
        case U'=':
            percent_ = std::min(percent_ + kSpeedStep, 100.0);
            break;
        case U'-':
            percent_ = std::max(percent_ - kSpeedStep, kSpeedStep);
            break;
        case U'i':
            camera_.step("iris", kIrisStep);
            break;
        case U'k':
            camera_.step("iris", -kIrisStep);
            break;
        case U'a':
            camera_.set_focus_mode("auto");
            break;
        case U'm':
            camera_.set_focus_mode("manual");
            break;
        case U'q':
        case kCtrlC:
            over_ = true;
            break;
        default:
            if (event.key >= U'0' && event.key <= U'9')
                return go_to((event.key - U'0' + 9) % 10);
            held_.let_go(); // a blank, and whatever is no key of ours
            camera_.stop();
        }
    }

    void press(PadState::Press press)
    {
        using Press = PadState::Press;
        if (press == Press::stop)
            camera_.stop();
        else if (press == Press::iris_up || press == Press::iris_down)
            camera_.step("iris", press == Press::iris_up ? kIrisStep : -kIrisStep);
        else if (press >= Press::preset_1)
            go_to(static_cast<std::size_t>(press) - static_cast<std::size_t>(Press::preset_1));
    }

    void go_to(std::size_t index)
    {
        if (index < camera_.presets().size())
            camera_.go_to(camera_.presets()[index]);
    }

    static gboolean on_keys(int descriptor, GIOCondition, gpointer data)
    {
        auto *self = static_cast<Drive *>(data);
        char bytes[256];
        const ssize_t count = read(descriptor, bytes, sizeof bytes);
        if (count <= 0 && errno != EINTR && errno != EAGAIN)
            self->over_ = true; // the terminal has gone
        if (count > 0)
            for (const KeyEvent &event : self->keys_.take({bytes, static_cast<std::size_t>(count)}))
                self->press(event);
        self->follow();
        return G_SOURCE_CONTINUE;
    }

    static gboolean on_pad(int, GIOCondition condition, gpointer data)
    {
        auto *self = static_cast<Drive *>(data);
        std::vector<PadState::Press> presses;
        const bool there = self->pad_->read(presses) && (condition & G_IO_IN) != 0;
        for (const PadState::Press press : presses)
            self->press(press);
        if (!there) {
            self->pad_source_ = 0;
            self->pad_->let_go();
        }
        self->follow();
        return there ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
    }

    static gboolean on_resized(gpointer data)
    {
        static_cast<Drive *>(data)->screen_->resized();
        return G_SOURCE_CONTINUE;
    }

    static gboolean on_hangup(gpointer data)
    {
        static_cast<Drive *>(data)->over_ = true;
        return G_SOURCE_CONTINUE;
    }

    DrivenCamera camera_;
    KeyReader keys_;
    HeldKeys held_;
    std::unique_ptr<Gamepad> pad_;
    std::unique_ptr<Screen> screen_;
    std::array<guint, 3> sources_{};
    guint pad_source_ = 0;
    double percent_ = 50;
    unsigned ticks_ = 0;
    bool over_ = false;
};

} // namespace

ExitStatus run_drive(Context &context, const Arguments &arguments)
{
    // What is wrong is said before the screen is there.
    context.service().state();
    const bool stopped = Drive(context, arguments).run();
    if (!stopped)
        throw Failure(EXIT_NO_SERVICE, "NoService", "ptzd has gone; whether the camera stands is not known");
    return EXIT_DONE;
}
