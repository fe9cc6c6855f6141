// The camera block on its board: power and reset lines, boot, the request line, the moving parts and the settings.
// One thread at a time; times are microseconds of the simulator's clock and never go back.
#pragma once

#include "sim/axis.h"
#include "sim/exposure.h"
#include "sim/faults.h"
#include "sim/journal.h"
#include "sim/lines.h"
#include "sim/records.h"
#include "sim/spoil.h"
#include "sim/upgrade.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace sim {

struct CameraOptions {
    std::int64_t power_good_us = 5'000;         // from power on to the power-good line
    std::int64_t boot_us = 300'000;             // from the released reset to the init-done line
    std::int64_t lens_us = 500'000;             // from there until the lens is ready
    std::int64_t request_us = 0;                // from the end of a burst to the next request
    std::int64_t upgrade_ready_us = 4'000'000;  // from the start of an upgrade until the loader is ready
    std::int64_t upgrade_write_us = 10'000'000; // from its end until the flash is written
    bool power_active_low = false;
    bool resets_active_low = true;
    bool fpga_reset_active_low = true;
    bool big_endian = false; // header of the block's frames
    std::uint32_t model = 1;
    std::uint32_t fw_revision = 0x01020003;
};

enum class BlockState : std::uint8_t { off, powering, held_in_reset, booting, running };
const char *text(BlockState state);

// What the block keeps without power.
struct Kept {
    std::uint32_t firmware = 0;         // version that runs from the next boot on
    std::uint32_t sensor_frequency = 0; // code in force from the next boot on
    bool operator==(const Kept &) const = default;
};

// The four status blocks, one behind the other.
using StatusBlocks = std::array<std::uint8_t, 752>;

// How far one of the colours is turned up, and turned; 50 is as it is. The first is for all of them.
struct Colouring {
    std::int32_t level = 50;
    std::int32_t hue = 50;
    bool operator==(const Colouring &) const = default;
};
inline constexpr std::size_t kColourings = 7;

// Bits of status bytes that are forced from outside.
struct ForcedBits {
    std::uint8_t tag;
    std::uint16_t offset;
    std::uint8_t mask;
    std::uint8_t value;
};

class Camera {
  public:
    static constexpr std::int64_t kNever = Schedule::kNever;

    Camera(const CameraOptions &options, Lines &lines, Faults &faults, Journal &journal);

    // The host drives one of its lines.
    void drive(Line line, bool high, std::int64_t now);
    // One full-duplex burst: what the host clocked out, and room for what it clocks in.
    void burst(unsigned port, std::span<const std::uint8_t> host, std::span<std::uint8_t> answer, std::int64_t now);
    // Does what is due by `now`; call it before anything else, and at next_event() at the latest.
    void run(std::int64_t now);
    std::int64_t next_event(std::int64_t now) const;
    // Call after clearing faults: what they kept from happening happens now.
    void faults_cleared(std::int64_t now);

    BlockState state() const { return state_; }
    const CameraOptions &options() const { return options_; }
    CameraOptions &options() { return options_; }
    // The model that it says it is.
    std::uint32_t model() const { return other_model_.value_or(options_.model); }
    bool talks() const;
    Kept kept() const { return {next_firmware_.value_or(options_.fw_revision), wanted_capture_frequency_}; }
    // Takes over at once what was kept, or is told from outside.
    void set_kept(const Kept &kept);

    // Moving parts. Pan and tilt in 1/1000 degree. The zoom's coordinate runs through the optical range, (magnification
    // - 1) x 256, and on through the digital one, (factor - 1) x 256 further. Focus in motor steps, far end lowest.
    Axis pan{-170'000, 170'000, 0};
    Axis tilt{-20'000, 90'000, 0};
    Axis zoom{0, kZoomOptical + kZoomDigital, 0};
    Axis focus{1144, 2048, 1400};
    static constexpr double kZoomOptical = 7424;
    static constexpr double kZoomDigital = 2816;
    double magnification(std::int64_t now) const;
    void place_magnification(double magnification, std::int64_t now);

    // Iris, shutter and gain at work.
    ExposureCodes exposure(std::int64_t now) const { return exposure_.at(now); }
    void set_scene_light(double stops, std::int64_t now);

    double temperature = 40.0;           // degrees Celsius
    std::uint32_t capture_frequency = 0; // code in force
    std::uint32_t capture_mode_state(std::int64_t now) const;
    bool lens_ready(std::int64_t now) const { return now >= lens_ready_at_; }
    bool sensor_halted() const { return sensor_halted_; }
    const Values &setting(Rec id) const { return settings_[static_cast<std::size_t>(id)]; }
    const std::array<Values, kRecCount> &settings() const { return settings_; }
    const std::array<Colouring, kColourings> &colours() const { return colours_; }
    double scene_light() const { return scene_light_; }
    std::vector<ForcedBits> forced; // applied to every status run

  private:
    void set_state(BlockState state, std::int64_t now);
    void apply_faults(std::int64_t now);
    void set_supply(bool on, std::int64_t now);
    void set_reset(bool asserted, std::int64_t now);
    void begin_boot(std::int64_t now);
    void halt(std::int64_t now);
    void schedule_power_good(std::int64_t now);
    void update_request(std::int64_t now);
    void write_to(std::span<std::uint8_t> answer, unsigned port, std::span<const std::uint8_t> host, std::int64_t now);
    void receive(std::span<const std::uint8_t> host, unsigned port, bool answered, std::int64_t now);
    void receive_upgrade(std::span<const std::uint8_t> payload, bool answered, std::int64_t now);
    void finish_upgrade(std::int64_t now);
    void carry_out(const Record &record, std::int64_t now);
    bool carry_out_motion(Rec id, const Values &values, std::int64_t now);
    void focus_mode(std::int32_t mode, std::int64_t now);
    void expose(Rec id, std::int64_t now);
    void default_settings(std::int64_t now);
    bool asserted(Line line) const;

    CameraOptions options_;
    Lines &lines_;
    Faults &faults_;
    Journal &journal_;
    Wires wires_;
    Upgrade upgrade_;
    std::optional<std::uint32_t> next_firmware_; // written, runs from the next boot on
    bool broken_down_ = false;                   // silent until the next reset
    BlockState state_ = BlockState::off;
    bool supplied_ = false; // with power
    std::optional<std::uint32_t> other_model_;
    std::optional<StatusBlocks> status_; // as last sent since the boot
    std::int64_t event_at_ = kNever;     // end of powering or booting
    std::int64_t request_at_ = kNever;   // when the request line rises
    std::int64_t second_edge_at_ = kNever;
    std::int64_t lens_ready_at_ = kNever;
    std::int64_t capture_set_at_ = kNever;
    std::uint32_t wanted_capture_frequency_ = 0; // in force from the next boot on
    bool sensor_halted_ = false;
    std::size_t next_block_ = 0; // where a run that did not fit goes on
    std::array<Values, kRecCount> settings_{};
    std::array<Colouring, kColourings> colours_{}; // each colour's own; its record holds the last one only
    Exposure exposure_;
    double scene_light_ = 7; // stops; a lit room
};

} // namespace sim
