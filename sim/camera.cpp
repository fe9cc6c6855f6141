#include "sim/camera.h"

#include "sim/frame.h"
#include "sim/status.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace sim {
namespace {

std::string hex(const char *format, std::uint32_t value)
{
    char digits[16];
    std::snprintf(digits, sizeof digits, format, value);
    return digits;
}

} // namespace

const char *text(BlockState state)
{
    static constexpr std::array<const char *, 5> kTexts{"off", "powering", "held in reset", "booting", "running"};
    return kTexts[static_cast<std::size_t>(state)];
}

Camera::Camera(const CameraOptions &options, Lines &lines, Faults &faults, Journal &journal)
    : options_(options), lines_(lines), faults_(faults), journal_(journal), wires_(faults), upgrade_(faults, journal)
{
    lines_.set(Line::power, options.power_active_low);
    lines_.set(Line::reset, !options.resets_active_low);
    lines_.set(Line::reset_pcie, !options.resets_active_low);
    lines_.set(Line::fpga_reset, !options.fpga_reset_active_low);
    default_settings(0);
}

void Camera::default_settings(std::int64_t now)
{
    settings_ = {};
    colours_ = {};
    const auto set = [this](Rec id, std::int32_t value) { settings_[static_cast<std::size_t>(id)][0] = value; };
    set(Rec::focus_speed, 7);
    set(Rec::zoom_speed, 7);
    set(Rec::pan_speed, 100'000);
    set(Rec::tilt_speed, 100'000);
    set(Rec::iris_a, 8);
    set(Rec::shutter, 24);
    set(Rec::gain, 4);
    set(Rec::exposure_window, 4);
    set(Rec::max_gain, 8);
    set(Rec::ae_response, 50);
    settings_[static_cast<std::size_t>(Rec::shutter_limits)] = {24, 54};
    set(Rec::day_night_mode, 1);
    set(Rec::day_night_threshold, 2);
    set(Rec::wb_red, 256);
    set(Rec::wb_blue, 256);
    set(Rec::video_mode, 1);
    settings_[static_cast<std::size_t>(Rec::colour_level)] = {0, 50};
    exposure_.place({setting(Rec::iris_a)[0], setting(Rec::shutter)[0], setting(Rec::gain)[0]}, now);
    expose(Rec::exposure_mode, now);
}

void Camera::set_kept(const Kept &kept)
{
    options_.fw_revision = kept.firmware;
    next_firmware_.reset();
    capture_frequency = wanted_capture_frequency_ = kept.sensor_frequency;
}

bool Camera::asserted(Line line) const
{
    const bool active_low = line == Line::power        ? options_.power_active_low
                            : line == Line::fpga_reset ? options_.fpga_reset_active_low
                                                       : options_.resets_active_low;
    return lines_.level(line) != active_low;
}

void Camera::set_state(BlockState state, std::int64_t now)
{
    state_ = state;
    journal_.note(now, Detail::records, std::string("block ") + text(state));
}

void Camera::drive(Line line, bool high, std::int64_t now)
{
    if (lines_.level(line) == high)
        return;
    lines_.set(line, high);
    const bool up = lines_.level(Line::init_done);
    switch (line) {
    case Line::power:
        if (!asserted(line) && !asserted(Line::reset))
            journal_.offence(now, "power-off-out-of-reset", "cam_power off, the block is not held in reset");
        apply_faults(now);
        break;
    case Line::reset:
        set_reset(asserted(line), now);
        break;
    case Line::reset_pcie:
        if (!asserted(line) && !up)
            journal_.offence(now, "pcie-release-before-init-done", "cam_reset_pcie released, cam_init_done is low");
        break;
    case Line::fpga_reset:
        if (!asserted(line) && !up)
            journal_.offence(now, "fpga-release-before-init-done", "fpga_reset released, cam_init_done is low");
        break;
    case Line::pcie_clk:
        if (high && !lines_.level(Line::power_good))
            journal_.offence(now, "clock-on-without-power", "cam_pcie_clk enabled, cam_power_good is low");
        if (!high && !asserted(Line::reset))
            journal_.offence(now, "clock-off-out-of-reset", "cam_pcie_clk disabled, the block is not held in reset");
        break;
    default:
        break;
    }
}

void Camera::set_supply(bool on, std::int64_t now)
{
    if (on == supplied_)
        return;
    supplied_ = on;
    if (on) {
        set_state(BlockState::powering, now);
        schedule_power_good(now);
        return;
    }
    halt(now);
    lines_.set(Line::power_good, false);
    set_state(BlockState::off, now);
}

void Camera::schedule_power_good(std::int64_t now)
{
    event_at_ =
        faults_.strike(Fault::power_good_never) ? faults_.until(Fault::power_good_never) : now + options_.power_good_us;
}

void Camera::set_reset(bool held, std::int64_t now)
{
    if (!held) {
        if (!lines_.level(Line::power_good))
            journal_.offence(now, "reset-release-without-power", "cam_reset released, cam_power_good is low");
        if (state_ == BlockState::held_in_reset)
            begin_boot(now);
        return;
    }
    if (state_ == BlockState::running || state_ == BlockState::booting) {
        halt(now);
        set_state(BlockState::held_in_reset, now);
    }
}

void Camera::begin_boot(std::int64_t now)
{
    set_state(BlockState::booting, now);
    std::int64_t boot = options_.boot_us;
    if (faults_.strike(Fault::slow_boot))
        boot = faults_.value(Fault::slow_boot);
    event_at_ = faults_.strike(Fault::init_done_never) ? faults_.until(Fault::init_done_never) : now + boot;
}

// The block stops talking and everything stands still where it is.
void Camera::halt(std::int64_t now)
{
    event_at_ = request_at_ = second_edge_at_ = kNever;
    for (Axis *axis : {&pan, &tilt, &zoom, &focus})
        axis->stop(now);
    upgrade_.reset();
    broken_down_ = false;
    lines_.set(Line::init_done, false);
    lines_.set(Line::fw_complete, false);
    update_request(now);
}

// What faults keep up from outside the block's own course.
void Camera::apply_faults(std::int64_t now)
{
    set_supply(asserted(Line::power) && !faults_.active(Fault::power_loss), now);
    Axis *const axes[] = {&pan, &tilt, &zoom, &focus};
    for (std::size_t i = 0; i < std::size(axes); ++i)
        axes[i]->stall(faults_.active(Fault::stall, i), now);
    for (std::size_t i = 0; i < kLines.size(); ++i)
        lines_.glitch(static_cast<Line>(i), faults_.active(Fault::glitch, i));
    if (second_edge_at_ <= now) {
        second_edge_at_ = kNever;
        lines_.announce(Line::request);
    }
}

void Camera::run(std::int64_t now)
{
    faults_.run(now);
    apply_faults(now);
    if (upgrade_.written_at() <= now)
        finish_upgrade(upgrade_.written_at());
    while (event_at_ <= now) {
        const std::int64_t due = event_at_;
        event_at_ = kNever;
        if (state_ == BlockState::powering) {
            set_state(BlockState::held_in_reset, due);
            lines_.set(Line::power_good, true);
            if (!asserted(Line::reset))
                begin_boot(due);
        } else if (state_ == BlockState::booting) {
            default_settings(due);
            set_kept(kept());
            capture_set_at_ = kNever;
            sensor_halted_ = false;
            status_.reset();
            other_model_.reset();
            if (faults_.strike(Fault::other_model))
                other_model_ = static_cast<std::uint32_t>(faults_.value(Fault::other_model));
            lens_ready_at_ = due + options_.lens_us;
            request_at_ = due;
            next_block_ = 0;
            set_state(BlockState::running, due);
            lines_.set(Line::init_done, true);
        }
    }
    update_request(now);
}

std::int64_t Camera::next_event(std::int64_t now) const
{
    std::int64_t next = std::min({event_at_, second_edge_at_, upgrade_.written_at(), faults_.next_event()});
    if (talks() && !lines_.level(Line::request) && request_at_ > now)
        next = std::min(next, request_at_);
    return next;
}

void Camera::faults_cleared(std::int64_t now)
{
    if (event_at_ == kNever && state_ == BlockState::powering)
        schedule_power_good(now);
    if (event_at_ == kNever && state_ == BlockState::booting)
        begin_boot(now);
    run(now);
}

bool Camera::talks() const
{
    return state_ == BlockState::running && !faults_.active(Fault::silence) && !broken_down_;
}

void Camera::update_request(std::int64_t now)
{
    constexpr std::int64_t kSecondEdgeUs = 1'000;
    bool high = talks() && now >= request_at_;
    if (faults_.active(Fault::hold_request))
        high = faults_.value(Fault::hold_request) != 0;
    if (high == lines_.level(Line::request))
        return;
    lines_.set(Line::request, high, !high || !faults_.strike(Fault::drop_edge));
    if (high && faults_.strike(Fault::double_edge))
        second_edge_at_ = now + kSecondEdgeUs;
}

void Camera::burst(unsigned port, std::span<const std::uint8_t> host, std::span<std::uint8_t> answer, std::int64_t now)
{
    const std::span<const std::uint8_t> received = wires_.to_block(host);
    journal_.burst(now, port, true, received);
    std::fill(answer.begin(), answer.end(), std::uint8_t{0});
    if (!lines_.level(Line::request))
        journal_.offence(now, "burst-without-request", "a burst was clocked while imc_req was low");
    if (talks()) {
        // The block lays its answer ready before the host's bytes come in.
        write_to(answer, port, received, now);
        wires_.to_host(answer, options_.big_endian);
        receive(received, port, carries_payload(answer, options_.big_endian), now);
    }
    journal_.burst(now, port, false, answer);
    if (state_ == BlockState::running && faults_.strike(Fault::reboot)) {
        halt(now);
        begin_boot(now);
        return;
    }

    std::int64_t pause = options_.request_us;
    if (faults_.strike(Fault::delay_edge))
        pause = faults_.value(Fault::delay_edge);
    if (state_ == BlockState::running)
        request_at_ = now + pause;
    if (!faults_.active(Fault::hold_request))
        lines_.set(Line::request, false);
    update_request(now);
}

void Camera::write_to(std::span<std::uint8_t> answer, unsigned port, std::span<const std::uint8_t> host,
                      std::int64_t now)
{
    if (port != 1 || !upgrade_.loading()) {
        next_block_ = write_answer(*this, status_, faults_, answer, next_block_, now);
        return;
    }
    std::vector<std::uint8_t> payload = upgrade_.answer(now);
    if (upgrade_.refuses(check_host_frame(host).payload))
        payload.clear();
    write_payload(payload, faults_, options_.big_endian, answer);
}

void Camera::receive_upgrade(std::span<const std::uint8_t> payload, bool answered, std::int64_t now)
{
    if (upgrade_.receive(payload, answered, {options_.upgrade_ready_us, options_.upgrade_write_us}, now))
        return;
    journal_.note(now, Detail::records, "the block broke down");
    upgrade_.reset();
    broken_down_ = true;
}

void Camera::finish_upgrade(std::int64_t now)
{
    const auto version = upgrade_.written();
    if (!version)
        return;
    if (!faults_.strike(Fault::new_firmware_never))
        next_firmware_ = version;
    journal_.note(now, Detail::records, "firmware " + hex("%08X", *version) + " is written");
    if (!faults_.strike(Fault::fw_complete_never))
        lines_.set(Line::fw_complete, true);
}

void Camera::receive(std::span<const std::uint8_t> host, unsigned port, bool answered, std::int64_t now)
{
    const HostFrame frame = check_host_frame(host);
    if (frame.problem)
        journal_.offence(now, frame.problem, "frame of " + std::to_string(host.size()) + " bytes");
    if (frame.payload.empty()) {
        journal_.note(now, Detail::everything, "status read");
        return;
    }
    if (port != 0) {
        receive_upgrade(frame.payload, answered, now);
        return;
    }
    const Packet packet = check_packet(frame.payload);
    if (packet.problem) {
        journal_.offence(now, packet.problem,
                         "packet of " + std::to_string(frame.payload.size()) + " bytes, first " +
                             hex("%02X", frame.payload[0]));
        return;
    }
    journal_.packet(packet.records);
    for (const Record &record : parse_records(packet.records)) {
        journal_.record(now, record);
        if (record.problem)
            journal_.offence(now, record.problem, describe(record));
        if (record.usable && faults_.strike(Fault::ignore_record))
            journal_.note(now, Detail::records, "which was not taken");
        else if (record.usable)
            carry_out(record, now);
    }
}

} // namespace sim
