#include "sim/board.h"

#include "sim/board_folder.h"
#include "sim/clock.h"
#include "sim/command.h"
#include "sim/sensor.h"
#include "sim/server.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <map>
#include <mutex>
#include <set>
#include <thread>
#include <utility>

namespace sim {

struct Board::Impl final : Requests {
    explicit Impl(Options wanted)
        : options(std::move(wanted)), clock(options.manual_time, options.time_scale),
          camera(options.camera, lines, faults, journal)
    {
        journal.set_print(options.print);
        journal.set_progress(options.progress);
        faults.seed(options.seed);
    }

    Options options;
    Clock clock;
    mutable std::mutex mutex; // guards everything below but the server and the thread
    Lines lines;
    Faults faults;
    Journal journal;
    Camera camera;
    BoardFolder folder;
    Kept kept; // as it is in the folder
    Sensor sensor;
    Services services;
    std::array<std::int64_t, 2> told_ownership{-1, -1}; // of their names
    std::array<bool, kLines.size()> told_levels{};      // of the lines that the block drives, to the journal
    std::multiset<std::int64_t> reminders;              // of the services
    std::multimap<std::int64_t, std::string> script;
    std::uint64_t bursts = 0;
    std::unique_ptr<Server> server;
    std::thread thread;

    // Brings the camera and the script up to `now`, each step at its own time.
    void run_until(std::int64_t now)
    {
        for (;;) {
            const std::int64_t due = next_event(now);
            if (due > now)
                break;
            clock.set(due); // whoever is told of something must find that it is time for it
            camera.run(due);
            if (!script.empty() && script.begin()->first <= due) {
                const std::string line = std::move(script.begin()->second);
                script.erase(script.begin());
                const CommandResult result = carry_out(line, due);
                journal.note(due, result.ok ? Detail::records : Detail::offences, line + ": " + result.text);
            }
            if (reminders.erase(due) != 0)
                services.tell(ServiceChange::reminder);
            show(due);
        }
        camera.run(now);
        show(now);
    }

    // What became of the lines; a request that falls and rises with a burst is none.
    void note_levels(std::int64_t now)
    {
        for (std::size_t i = 0; i < kLines.size(); ++i) {
            const bool high = lines.shown(static_cast<Line>(i));
            if (!kLines[i].host_drives && std::exchange(told_levels[i], high) != high)
                journal.level(now, static_cast<Line>(i), false, high);
        }
    }

    // What is seen of the block and of its faults outside of it.
    void show(std::int64_t now)
    {
        note_levels(now);
        for (std::size_t i = 0; i < kLines.size(); ++i)
            lines.make_asked(static_cast<Line>(i),
                             faults.armed(Fault::gpio_refuse, i) || faults.armed(Fault::gpio_read, i));
        if (folder.path().empty())
            return;
        sensor.update(folder, faults, camera.temperature);
        // What the block keeps without power is in the folder as soon as it is in the block.
        if (!(camera.kept() == kept) && folder.write_kept(camera.kept()))
            kept = camera.kept();
        const std::array ownership{faults.active(Fault::image_control) ? faults.value(Fault::image_control) : -1,
                                   faults.active(Fault::streamer) ? faults.value(Fault::streamer) : -1};
        if (std::exchange(told_ownership, ownership) != ownership)
            services.tell(ServiceChange::faults);
    }

    std::int64_t next_event(std::int64_t now) const
    {
        std::int64_t next = camera.next_event(now);
        if (!script.empty())
            next = std::min(next, script.begin()->first);
        return reminders.empty() ? next : std::min(next, *reminders.begin());
    }

    // Up to date, for a request that arrives now.
    std::int64_t catch_up()
    {
        const std::int64_t now = clock.now();
        run_until(now);
        return now;
    }

    Reading read_camera(std::int64_t now) const;

    CommandResult carry_out(std::string_view line, std::int64_t now)
    {
        CommandResult result = run_command(line, {camera, faults, journal, services}, now);
        if (result.ok && line.find_first_of("\r\n") == line.npos)
            journal.command(now, line);
        return result;
    }

    int drive(std::uint32_t line, bool high) override
    {
        const std::lock_guard lock(mutex);
        if (line >= kLines.size())
            return -ENOENT;
        if (!kLines[line].host_drives) {
            journal.offence(clock.now(), "drove-an-input", std::string("the host drove ") + kLines[line].name);
            return -EPERM;
        }
        const std::int64_t now = catch_up();
        if (faults.strike(Fault::gpio_drive, line))
            return -EIO;
        journal.level(now, static_cast<Line>(line), true, high);
        camera.drive(static_cast<Line>(line), high, now);
        note_levels(now);
        return 0;
    }

    int claim(std::uint32_t line) override
    {
        const std::lock_guard lock(mutex);
        catch_up();
        return line < kLines.size() && faults.strike(Fault::gpio_refuse, line) ? -EBUSY : 0;
    }

    int read(std::uint32_t line) override
    {
        const std::lock_guard lock(mutex);
        if (line >= kLines.size())
            return -ENOENT;
        catch_up();
        return faults.strike(Fault::gpio_read, line) ? -EIO : lines.shown(static_cast<Line>(line)) ? 1 : 0;
    }

    Fd open_edge(std::uint32_t line, int &slave) override
    {
        const std::lock_guard lock(mutex);
        catch_up();
        if (line >= kLines.size() || faults.strike(Fault::gpio_edge, line))
            return {};
        return lines.open_edge(static_cast<Line>(line), slave);
    }

    void close_edge(int slave) override
    {
        const std::lock_guard lock(mutex);
        lines.close_edge(slave);
    }

    int lines_page() override { return lines.page_fd(); }
    ugpio_wire::Hello hello() override { return Lines::hello(); }

    void check_transfer(const spidev_wire::Request &request, std::uint32_t mode)
    {
        constexpr std::uint32_t kMode = 9; // clock phase 1, least significant bit first
        const std::int64_t now = clock.now();
        if (mode != kMode)
            journal.offence(now, "spi-mode", "mode " + std::to_string(mode) + " instead of 9");
        if (request.length < 16 || request.length > 1920)
            journal.offence(now, "spi-length", std::to_string(request.length) + " bytes");
        if (request.speed_hz == 0 || request.bits_per_word != 8 || request.delay_usecs != 1 || request.cs_change != 0 ||
            request.tx_nbits != 0 || request.rx_nbits != 0 || request.word_delay_usecs != 0)
            journal.offence(now, "spi-transfer", "unexpected speed, bits, delay, chip select or bus width");
    }

    Transferred transfer(unsigned port, const spidev_wire::Request &request, std::uint32_t mode,
                         std::span<const std::uint8_t> host, std::span<std::uint8_t> answer) override
    {
        constexpr std::int64_t kMostUs = 10'000'000; // so long a controller waits for the end of a transfer
        const std::lock_guard lock(mutex);
        check_transfer(request, mode);
        const std::int64_t now = catch_up();
        if (faults.strike(Fault::spi_error))
            return {-spi_error(), 0};
        std::size_t clocked = host.size();
        if (clocked > 8 && faults.strike(Fault::spi_short)) // too short for any status run
            clocked = 4 + faults.random(static_cast<std::uint32_t>(clocked / 2 - 4));
        camera.burst(port, host.first(clocked), answer, now);
        ++bursts;
        std::fill(answer.begin() + static_cast<std::ptrdiff_t>(clocked), answer.end(), std::uint8_t{0});
        show(now);
        const std::int64_t slow_us = faults.strike(Fault::spi_slow) ? faults.value(Fault::spi_slow) : 0;
        const std::int64_t wire_ns = options.real_wire_time ? spidev_wire::wire_ns(request) : 0;
        const std::int64_t busy_ns = std::max(std::min(slow_us, kMostUs) * 1000, wire_ns);
        return {slow_us > kMostUs ? -ETIMEDOUT : static_cast<std::int32_t>(clocked), clock.wall_ns(busy_ns)};
    }

    int spi_error() const { return kSpiErrors.at(static_cast<std::size_t>(faults.value(Fault::spi_error))); }

    int set_up() override
    {
        const std::lock_guard lock(mutex);
        catch_up();
        const bool gone = faults.armed(Fault::spi_error) && spi_error() == ENODEV && faults.strike(Fault::spi_error);
        return gone ? -ENODEV : 0;
    }

    std::optional<std::int64_t> idle() override
    {
        const std::lock_guard lock(mutex);
        if (clock.manual())
            return std::nullopt;
        const std::int64_t next = next_event(catch_up());
        if (next == Camera::kNever)
            return std::nullopt;
        return clock.real_ns_until(next);
    }

    // The server's thread has to look at its timer again.
    void wake()
    {
        if (server)
            server->wake();
    }
};

Board::Board(Options options) : impl_(std::make_unique<Impl>(std::move(options)))
{
}

Board::~Board()
{
    stop();
}

std::optional<std::string> Board::start()
{
    Impl &self = *impl_;
    if (self.server)
        return "The board already runs";
    if (auto problem = self.folder.open(self.options.folder, self.options.camera, self.options.overwrite_conf))
        return problem;
    if (const auto kept = self.folder.read_kept()) {
        self.camera.set_kept(*kept);
        self.kept = *kept;
    }
    if (!self.sensor.update(self.folder, self.faults, self.camera.temperature))
        return "Cannot write the thermal zone: " + std::string(std::strerror(errno));
    if (!self.options.trace_path.empty() &&
        !self.journal.open_trace(self.options.trace_path, self.options.camera.big_endian, self.options.trace_bytes))
        return "Cannot write the trace " + self.options.trace_path + ": " + std::strerror(errno);
    auto server = std::make_unique<Server>(self);
    auto problem = server->open(self.folder.gpio_socket(), self.folder.spi_socket(0), self.folder.spi_socket(1));
    if (problem) {
        self.folder.close();
        return problem;
    }
    self.server = std::move(server);
    self.thread = std::thread([&self] { self.server->run(); });
    return std::nullopt;
}

void Board::stop()
{
    Impl &self = *impl_;
    if (!self.server)
        return;
    self.server->stop();
    self.thread.join();
    self.server.reset();
    self.lines.close_all_edges();
    self.folder.close();
}

Requests &Board::requests()
{
    return *impl_;
}

std::int64_t Board::now() const
{
    return impl_->clock.now();
}

void Board::advance(std::int64_t us)
{
    Impl &self = *impl_;
    const std::lock_guard lock(self.mutex);
    if (!self.clock.manual() || us < 0)
        return;
    const std::int64_t end = self.clock.now() + us;
    self.run_until(end);
    self.clock.set(end);
}

CommandResult Board::command(std::string_view line)
{
    Impl &self = *impl_;
    CommandResult result;
    {
        const std::lock_guard lock(self.mutex);
        const std::int64_t now = self.catch_up();
        result = self.carry_out(line, now);
        self.show(now);
    }
    self.wake();
    return result;
}

void Board::at(std::int64_t us, std::string line)
{
    Impl &self = *impl_;
    {
        const std::lock_guard lock(self.mutex);
        self.script.emplace(us, std::move(line));
    }
    self.wake();
}

Reading Board::reading() const
{
    Impl &self = *impl_;
    const std::lock_guard lock(self.mutex);
    return self.read_camera(self.catch_up());
}

Reading Board::Impl::read_camera(std::int64_t now) const
{
    return {.state = camera.state(),
            .pan = camera.pan.at(now) / 1000,
            .tilt = camera.tilt.at(now) / 1000,
            .magnification = camera.magnification(now),
            .focus = camera.focus.at(now),
            .temperature = camera.temperature,
            .exposure = camera.exposure(now),
            .sensor_frequency = camera.capture_frequency,
            .firmware = camera.options().fw_revision,
            .sensor_halted = camera.sensor_halted(),
            .pan_moving = camera.pan.moving(now),
            .tilt_moving = camera.tilt.moving(now),
            .zoom_moving = camera.zoom.moving(now),
            .focus_moving = camera.focus.moving(now)};
}

Snapshot Board::snapshot() const
{
    Impl &self = *impl_;
    const std::lock_guard lock(self.mutex);
    const std::int64_t now = self.catch_up();
    Snapshot snapshot{
        .us = now,
        .reading = self.read_camera(now),
        .settings = self.camera.settings(),
        .colours = self.camera.colours(),
        .scene_light = self.camera.scene_light(),
        .services = {self.services.video_capture_mode, self.services.capture_frequency, self.services.rotation},
        .bursts = self.bursts,
        .records = self.journal.record_count()};
    for (std::size_t i = 0; i < snapshot.lines.size(); ++i)
        snapshot.lines[i] = self.lines.shown(static_cast<Line>(i));
    for (std::size_t i = 0; i < snapshot.armed.size(); ++i)
        snapshot.armed[i] = self.faults.armed(static_cast<Fault>(i));
    for (const auto &[name, count] : self.journal.offences())
        snapshot.offence_count += count;
    return snapshot;
}

std::vector<HeardRecord> Board::last_records() const
{
    const std::lock_guard lock(impl_->mutex);
    return impl_->journal.last_records();
}

bool Board::level(Line line) const
{
    const std::lock_guard lock(impl_->mutex);
    impl_->catch_up();
    return impl_->lines.shown(line);
}

std::uint32_t Board::capture_frequency() const
{
    const std::lock_guard lock(impl_->mutex);
    return impl_->camera.capture_frequency;
}

Values Board::setting(Rec id) const
{
    const std::lock_guard lock(impl_->mutex);
    return impl_->camera.setting(id);
}

Services Board::services() const
{
    const std::lock_guard lock(impl_->mutex);
    return impl_->services;
}

void Board::watch_services(std::function<void(ServiceChange)> changed)
{
    const std::lock_guard lock(impl_->mutex);
    impl_->services.changed = std::move(changed);
}

ServiceFault Board::service_fault(Fault fault, bool strike)
{
    const std::lock_guard lock(impl_->mutex);
    impl_->catch_up();
    Faults &faults = impl_->faults;
    if (fault == Fault::count || !faults.armed(fault))
        return ServiceFault::none;
    const auto how = static_cast<ServiceFault>(faults.value(fault));
    const bool in_force = is_ownership(how) ? faults.active(fault) : !strike || faults.strike(fault);
    return in_force ? how : ServiceFault::none;
}

std::int64_t Board::remind(std::int64_t wall_us)
{
    std::int64_t due = 0;
    {
        const std::lock_guard lock(impl_->mutex);
        due = impl_->clock.now() + impl_->clock.from_wall(wall_us);
        impl_->reminders.insert(due);
    }
    impl_->wake();
    return due;
}

Counts Board::offences() const
{
    const std::lock_guard lock(impl_->mutex);
    return impl_->journal.offences();
}

void Board::clear_offences()
{
    const std::lock_guard lock(impl_->mutex);
    impl_->journal.clear_offences();
}

Counts Board::faults() const
{
    const std::lock_guard lock(impl_->mutex);
    return impl_->faults.counts();
}

Counts Board::records() const
{
    const std::lock_guard lock(impl_->mutex);
    return impl_->journal.records();
}

std::vector<std::string> Board::take_heard()
{
    const std::lock_guard lock(impl_->mutex);
    return impl_->journal.take_heard();
}

std::vector<std::vector<std::uint8_t>> Board::take_packets()
{
    const std::lock_guard lock(impl_->mutex);
    return impl_->journal.take_packets();
}

} // namespace sim
