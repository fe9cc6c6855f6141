#include "sim/view/view.h"

#include "glib_owned.h"
#include "sim/fd.h"
#include "sim/view/look.h"
#include "sim/view/picture.h"
#include "sim/view/state.h"
#include "sim/view/web.h"

#include <array>
#include <fcntl.h>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

namespace sim {
namespace {

using namespace view;

constexpr guint kTickMs = 33;            // at most 30 pictures a second
constexpr unsigned kTicksTold = 2;       // the state goes out at every second one
constexpr unsigned kTicksUnwatched = 60; // it ticks on for those who come back for the next picture
constexpr std::int64_t kTalkUs = 1'000'000;

using ContextOwned = GOwned<GMainContext, g_main_context_unref>;

// What the host's image pipeline wrote; a host that has none shows everything.
Pipeline read_pipeline(const std::string &path)
{
    const Fd file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    std::array<char, 64> bytes{};
    const ssize_t length = file ? read(file.get(), bytes.data(), bytes.size()) : 0;
    const std::string_view text(bytes.data(), length > 0 ? static_cast<std::size_t>(length) : 0);
    const auto says = [text](const char *words) { return text.find(words) != std::string_view::npos; };
    return {says("blanked=1"), says("frozen=1")};
}

} // namespace

struct View::Impl {
    Impl(Board &watched, ViewOptions wanted)
        : board(watched), options(std::move(wanted)), context(g_main_context_new()),
          loop(g_main_loop_new(context.get(), FALSE))
    {
    }

    // Everything below is used by the thread alone, once it runs.
    void run()
    {
        // The board's thread goes first.
        setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), 10);
        g_main_context_push_thread_default(context.get());
        g_main_loop_run(loop.get());
        web.reset();
        while (g_main_context_iteration(context.get(), FALSE)) { // what is called off says so
        }
        g_main_context_pop_thread_default(context.get());
    }

    void begin_ticking()
    {
        if (ticking)
            return;
        ticking = fresh = true;
        GSource *timer = g_timeout_source_new(kTickMs);
        g_source_set_callback(
            timer, [](gpointer self) { return static_cast<Impl *>(self)->tick(); }, this, nullptr);
        g_source_attach(timer, context.get());
        g_source_unref(timer);
    }

    gboolean tick()
    {
        look_at_board();
        draw();
        web->show(jpeg, pictures);
        if (++ticks % kTicksTold == 0)
            web->tell(state_text(shown));
        unwatched = web->is_watched() ? 0 : unwatched + 1;
        ticking = unwatched < kTicksUnwatched;
        return ticking;
    }

    void look_at_board()
    {
        const std::uint64_t records = shown.board.records;
        const std::uint64_t bursts = shown.board.bursts;
        shown.board = board.snapshot();
        shown.look = look_of(shown.board, read_pipeline(options.folder + "/picture"));
        if (shown.board.records != records)
            shown.records = board.last_records();
        const std::int64_t now = g_get_monotonic_time();
        if (shown.board.bursts != bursts)
            last_burst = now;
        shown.talking = last_burst != 0 && now - last_burst < kTalkUs;
    }

    // Whoever begins to look at a frozen camera gets what it sees at that moment.
    void draw()
    {
        const bool frozen = shown.look.frozen && drawn.video && !fresh;
        if (pictures != 0 && (frozen || shown.look == drawn))
            return;
        fresh = false;
        drawn = shown.look;
        picture.draw(drawn);
        jpeg = picture.jpeg();
        ++pictures;
    }

    Board &board;
    ViewOptions options;
    ContextOwned context;
    GMainLoopOwned loop;
    std::unique_ptr<Web> web;
    std::string address;
    std::thread thread;

    Shown shown;
    Look drawn;
    bool fresh = true; // nobody has looked lately: what was drawn last is not what is frozen
    Picture picture;
    std::span<const std::uint8_t> jpeg;
    std::uint64_t pictures = 0;  // that were drawn: the number of the last
    std::int64_t last_burst = 0; // g_get_monotonic_time()
    unsigned ticks = 0;
    unsigned unwatched = 0; // so many of them
    bool ticking = false;
};

std::string view_help()
{
    return {};
}

View::View(Board &board, ViewOptions options) : impl_(std::make_unique<Impl>(board, std::move(options)))
{
}

View::~View()
{
    if (!impl_->thread.joinable())
        return;
    // From within the loop: one that has not begun to run cannot be ended.
    const auto quit = [](gpointer loop) -> gboolean {
        g_main_loop_quit(static_cast<GMainLoop *>(loop));
        return G_SOURCE_REMOVE;
    };
    GSource *idle = g_idle_source_new();
    g_source_set_callback(idle, quit, impl_->loop.get(), nullptr);
    g_source_attach(idle, impl_->context.get());
    g_source_unref(idle);
    impl_->thread.join();
}

std::optional<std::string> View::start()
{
    Impl &self = *impl_;
    self.shown.controls = self.options.controls;
    Web::Hooks hooks{[&self] { self.begin_ticking(); }, {}};
    if (self.options.controls)
        hooks.command = [&self](const std::string &line) { return self.board.command(line); };
    g_main_context_push_thread_default(self.context.get());
    self.web = std::make_unique<Web>(std::move(hooks));
    auto problem = self.web->listen(self.options.where);
    if (problem)
        self.web.reset();
    else
        self.address = self.web->address();
    g_main_context_pop_thread_default(self.context.get());
    if (!problem)
        self.thread = std::thread([&self] { self.run(); });
    return problem;
}

std::string View::address() const
{
    return impl_->address;
}

} // namespace sim
