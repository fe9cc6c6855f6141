#include "sim/faults.h"

#include "sim/services.h"

#include <algorithm>

namespace sim {
namespace {

// Who owns a name on the bus is a state; how a service answers is decided at every call.
bool is_state(Fault fault, std::int64_t value)
{
    if (row(fault).argument == FaultArgument::service)
        return is_ownership(static_cast<ServiceFault>(value));
    return row(fault).kind != FaultKind::event;
}

bool is_set(FaultArgument argument)
{
    return argument == FaultArgument::line || argument == FaultArgument::axis;
}

} // namespace

void Faults::arm(Fault fault, const Schedule &schedule, std::int64_t value)
{
    Armed &armed = armed_[static_cast<std::size_t>(fault)];
    const std::int64_t before = is_set(row(fault).argument) && this->armed(fault) ? armed.value : 0;
    armed = {schedule, value | before};
    if (is_state(fault, value))
        armed.next_slot = now_;
    run(now_);
}

bool Faults::takes(std::size_t index, std::int64_t now)
{
    Schedule &schedule = armed_[index].schedule;
    if (!schedule.open(now) || (schedule.one_in > 1 && draw(chances_[index], schedule.one_in) != 0))
        return false;
    schedule.use_up();
    return true;
}

bool Faults::strike(Fault fault)
{
    const auto index = static_cast<std::size_t>(fault);
    if (!takes(index, now_))
        return false;
    ++struck_[index];
    return true;
}

// A state that goes on is one strike, however long it lasts.
void Faults::run_slot(std::size_t index)
{
    Armed &armed = armed_[index];
    const bool pulse = row(static_cast<Fault>(index)).kind == FaultKind::pulse;
    const bool goes_on = armed.active && armed.schedule.steady();
    const bool open = armed.schedule.open(armed.next_slot);
    armed.active = takes(index, armed.next_slot);
    if (armed.active) {
        ++armed.slots;
        struck_[index] += pulse || !goes_on ? 1 : 0;
    }
    armed.pulse_end = pulse && armed.active ? armed.next_slot + kPulseUs : Schedule::kNever;
    armed.next_slot = open ? armed.next_slot + kSlotUs : Schedule::kNever;
}

void Faults::run(std::int64_t now)
{
    now_ = now;
    for (std::size_t i = 0; i < kFaultCount; ++i) {
        Armed &armed = armed_[i];
        while (armed.next_slot <= now)
            run_slot(i);
        if (armed.schedule.until <= now || armed.pulse_end <= now)
            armed.active = false;
    }
}

std::int64_t Faults::next_event() const
{
    std::int64_t next = Schedule::kNever;
    for (const Armed &armed : armed_) {
        next = std::min(next, armed.next_slot);
        if (armed.active)
            next = std::min({next, armed.schedule.until, armed.pulse_end});
    }
    return next;
}

unsigned Faults::failed_calls() const
{
    unsigned failed = 0;
    for (const Fault fault :
         {Fault::spi_error, Fault::spi_slow, Fault::gpio_refuse, Fault::gpio_read, Fault::gpio_edge})
        failed += struck_[static_cast<std::size_t>(fault)];
    return failed;
}

Counts Faults::counts() const
{
    Counts counts;
    for (std::size_t i = 0; i < kFaultCount; ++i) {
        if (struck_[i] != 0)
            counts.emplace(row(static_cast<Fault>(i)).name, struck_[i]);
    }
    return counts;
}

void Faults::seed(std::uint64_t seed)
{
    state_ = seed;
    for (std::size_t i = 0; i < kFaultCount; ++i)
        chances_[i] = seed + (i + 1) * 0xD1B54A32D192ED03u;
}

std::uint32_t Faults::draw(std::uint64_t &state, std::uint32_t limit)
{
    // splitmix64: small, and the same everywhere.
    std::uint64_t z = state += 0x9E3779B97F4A7C15u;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
    z ^= z >> 31;
    return limit == 0 ? 0 : static_cast<std::uint32_t>(z % limit);
}

} // namespace sim
