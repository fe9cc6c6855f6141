#include "sim/upgrade.h"

#include "sim/image.h"

#include <algorithm>
#include <array>

namespace sim {
namespace {

constexpr std::size_t kChunk = 1016;
constexpr std::size_t kRewind = 5;
constexpr std::array<std::uint8_t, 12> kStart{0x10, 0x01, 0x00, 0x0C, 0x0B, 0x02, 0x08, 0x11, 0xAA, 0x55, 0xAA, 0x55};
constexpr std::size_t kStartSize = kStart.size() + 4;

enum class Command : std::uint8_t { unknown, start, query, chunk, end };

Command command_of(std::span<const std::uint8_t> payload)
{
    if (payload.size() == kStartSize && std::equal(kStart.begin(), kStart.end(), payload.begin()))
        return Command::start;
    if (payload.size() < 2 || payload[0] != 0xFF)
        return Command::unknown;
    if (payload.size() == 2)
        return payload[1] == 0x01 ? Command::query : payload[1] == 0x03 ? Command::end : Command::unknown;
    return payload[1] == 0x02 && payload.size() > 4 ? Command::chunk : Command::unknown;
}

std::size_t number(std::span<const std::uint8_t> bytes)
{
    std::size_t value = 0;
    for (const std::uint8_t byte : bytes)
        value = value << 8 | byte;
    return value;
}

std::size_t back(std::size_t index, std::size_t chunks)
{
    return index < chunks ? 0 : index - chunks;
}

} // namespace

std::string describe_upgrade(std::span<const std::uint8_t> payload)
{
    switch (command_of(payload)) {
    case Command::start:
        return "Upgrade start, " + std::to_string(number(payload.subspan(kStart.size()))) + " bytes";
    case Command::query:
        return "Upgrade ready query";
    case Command::chunk:
        return "Upgrade chunk " + std::to_string(number(payload.subspan(2, 2))) + ", " +
               std::to_string(payload.size() - 4) + " bytes";
    case Command::end:
        return "Upgrade end";
    case Command::unknown:
        break;
    }
    if (payload.size() == 2 && payload[0] == 0xFE)
        return payload[1] == 0 ? "Upgrade ready" : "Upgrade not ready";
    return {};
}

std::vector<std::uint8_t> Upgrade::answer(std::int64_t now) const
{
    return {0xFE, static_cast<std::uint8_t>(ready(now) ? 0x00 : 0x01)};
}

bool Upgrade::refuses(std::span<const std::uint8_t> payload)
{
    refused_ = false;
    if (command_of(payload) != Command::chunk)
        return false;
    const auto index = static_cast<std::int64_t>(number(payload.subspan(2, 2)));
    if (faults_.armed(Fault::refuse_chunk) && faults_.value(Fault::refuse_chunk) == index)
        refused_ = faults_.strike(Fault::refuse_chunk);
    refused_ = refused_ || faults_.strike(Fault::refuse_chunks);
    return refused_;
}

void Upgrade::offence(std::int64_t now, std::string_view name, std::string_view detail) const
{
    journal_.offence(now, name, detail);
}

bool Upgrade::breaks_down(std::int64_t step)
{
    return faults_.armed(Fault::upgrade_cut) && faults_.value(Fault::upgrade_cut) == step &&
           faults_.strike(Fault::upgrade_cut);
}

bool Upgrade::receive(std::span<const std::uint8_t> payload, bool answered, const UpgradeTimes &times, std::int64_t now)
{
    const Command command = command_of(payload);
    journal_.note(now, command == Command::chunk ? Detail::everything : Detail::records, describe_upgrade(payload));
    switch (command) {
    case Command::start:
        start(number(payload.subspan(kStart.size())), times, now);
        return !breaks_down(kCutStart);
    case Command::query:
        if (state_ == State::idle)
            offence(now, "upgrade-order", "a ready query before the start");
        return !breaks_down(kCutReady);
    case Command::chunk: {
        const std::size_t index = number(payload.subspan(2, 2));
        chunk(index, payload.subspan(4), answered, now);
        return !breaks_down(static_cast<std::int64_t>(index));
    }
    case Command::end:
        end(times, now);
        return !breaks_down(kCutEnd);
    case Command::unknown:
        offence(now, "upgrade-command", "a payload of " + std::to_string(payload.size()) + " bytes on port 1");
    }
    return true;
}

void Upgrade::reset()
{
    if (state_ == State::preparing || state_ == State::writing)
        journal_.progress_ended();
    state_ = State::idle;
    ready_at_ = written_at_ = kNever;
    image_ = {};
    here_ = {};
    count_here_ = expected_ = 0;
    percent_ = 0;
}

void Upgrade::start(std::size_t length, const UpgradeTimes &times, std::int64_t now)
{
    constexpr std::size_t kMost = 32'767 * kChunk;
    reset();
    if (length < kImageHeader || length > kMost) {
        offence(now, "upgrade-length", std::to_string(length) + " bytes");
        return;
    }
    state_ = State::preparing;
    ready_at_ = faults_.strike(Fault::upgrade_ready_never) ? kNever : now + times.prepare_us;
    image_.resize(length);
    here_.resize((length + kChunk - 1) / kChunk);
}

void Upgrade::chunk(std::size_t index, std::span<const std::uint8_t> bytes, bool answered, std::int64_t now)
{
    if (!ready(now)) {
        offence(now, "upgrade-order", "chunk " + std::to_string(index) + " before the loader was ready");
        return;
    }
    check_order(index, now);
    chunk_at_ = now;
    failed_before_ = faults_.failed_calls();
    expected_ = answered ? index + 1 : back(index, kRewind);
    if (!refused_)
        keep(index, bytes, now);
}

void Upgrade::check_order(std::size_t index, std::int64_t now)
{
    if (index == expected_)
        return;
    // The host gave up one chunk each time its patience with a low line ended, and with each call that failed.
    const auto given_up =
        static_cast<std::size_t>((now - chunk_at_) / kRequestPatienceUs) + (faults_.failed_calls() - failed_before_);
    for (std::size_t i = 1; i <= given_up && i <= here_.size(); ++i) {
        if (index == back(expected_, i * kRewind))
            return;
    }
    offence(now, index > expected_ ? "chunk-gap" : "chunk-repeat",
            "chunk " + std::to_string(index) + " instead of " + std::to_string(expected_));
}

void Upgrade::keep(std::size_t index, std::span<const std::uint8_t> bytes, std::int64_t now)
{
    const std::size_t at = index * kChunk;
    if (index >= here_.size() || bytes.size() != std::min(kChunk, image_.size() - at)) {
        offence(now, "chunk-size", std::to_string(bytes.size()) + " bytes in chunk " + std::to_string(index));
        return;
    }
    const auto place = image_.begin() + static_cast<std::ptrdiff_t>(at);
    if (here_[index]) {
        if (!std::equal(bytes.begin(), bytes.end(), place))
            offence(now, "chunk-changed", "chunk " + std::to_string(index) + " came again with other bytes");
    } else {
        here_[index] = true;
        ++count_here_;
    }
    std::copy(bytes.begin(), bytes.end(), place);
    const auto percent = static_cast<unsigned>(count_here_ * 100 / here_.size());
    if (percent != percent_)
        journal_.progress(now, percent);
    percent_ = percent;
}

void Upgrade::end(const UpgradeTimes &times, std::int64_t now)
{
    if (!ready(now)) {
        offence(now, "upgrade-order", "an end without a transfer");
        return;
    }
    state_ = State::failed;
    if (count_here_ != here_.size()) {
        offence(now, "upgrade-incomplete",
                std::to_string(count_here_) + " of " + std::to_string(here_.size()) + " chunks are here");
    } else if (!image_version(image_)) {
        offence(now, "upgrade-image", "what was transferred is not a firmware image");
    } else {
        state_ = State::writing;
        written_at_ = now + times.write_us;
        journal_.note(now, Detail::records, "firmware is being written");
    }
}

std::optional<std::uint32_t> Upgrade::written()
{
    if (state_ != State::writing)
        return std::nullopt;
    state_ = State::written;
    return image_version(image_);
}

} // namespace sim
