#include "ptzorvel/ptzd/trace.h"

#include "glib_owned.h"

#include <chrono>
#include <cstring>
#include <ctime>
#include <linux/spi/spidev.h>
#include <syslog.h>
#include <utility>

namespace {

constexpr auto kWriteEvery = std::chrono::milliseconds(100);
constexpr std::size_t kMostWaiting = 65536;             // bytes that are written in one piece
constexpr std::size_t kHurryAt = TraceQueue::kSize / 8; // records that wait

std::int64_t monotonic_ns()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * std::int64_t{1'000'000'000} + now.tv_nsec;
}

// Without the zeros at its end.
std::size_t trimmed(const char *bytes, std::size_t size)
{
    while (size > 0 && bytes[size - 1] == 0)
        --size;
    return size;
}

// Nothing happens to the camera by these, and the driver reads its status again and again by itself.
bool only_looks(const char *method)
{
    return g_str_has_prefix(method, "Get") || g_str_has_prefix(method, "List") || g_str_has_prefix(method, "AngleTo");
}

std::string printed(GVariant *value)
{
    return GText(g_variant_print(value, TRUE)).get();
}

} // namespace

Trace::Trace(Options options)
    : options_(std::move(options)), start_ns_(monotonic_ns()),
      file_(options_.path, options_.most_bytes, options_.config_folder, options_.state_folder)
{
}

Trace::~Trace()
{
    end();
    if (thread_.joinable())
        thread_.join();
}

void Trace::begin(Begun begun)
{
    if (std::unique_lock lock(mutex_); beginning_ && !ending_) {
        begun_.push_back(std::move(begun));
        return;
    }
    if (active_ || !over_) {
        begun(active_ ? "" : "the last one is still being written");
        return;
    }
    if (thread_.joinable())
        thread_.join();
    if (queue_ == nullptr)
        queue_ = std::make_unique<TraceQueue>();
    ending_ = over_ = false;
    beginning_ = true; // nobody else is here
    begun_ = {std::move(begun)};
    thread_ = std::thread([this] { run(); });
}

void Trace::end(std::function<void()> ended)
{
    options_.watch(nullptr);
    set_active(false);
    {
        const std::lock_guard lock(mutex_);
        if (ended && !over_)
            ended_.push_back(std::exchange(ended, {}));
    }
    if (ended)
        ended();
    ending_ = true;
    work_.release();
}

void Trace::on_change(std::function<void(const std::string &file)> changed)
{
    const std::lock_guard lock(mutex_);
    changed_ = std::move(changed);
}

void Trace::set_active(bool active)
{
    if (active_.exchange(active) == active)
        return;
    const std::lock_guard lock(mutex_);
    if (changed_)
        changed_(file());
}

std::int64_t Trace::now_us() const
{
    return static_cast<std::int64_t>(static_cast<double>(monotonic_ns() - start_ns_) * options_.time_scale / 1000.0);
}

void Trace::hand_over(const TraceRecord *record)
{
    queue_->end(record);
    if (queue_->waiting() == kHurryAt)
        work_.release();
}

TraceRecord *Trace::begin(std::size_t size)
{
    TraceRecord *record = nullptr;
    if (size > TraceRecord::kMost)
        queue_->lose();
    else
        record = queue_->begin();
    if (record != nullptr)
        record->us = now_us();
    return record;
}

void Trace::transfer(unsigned port, const spi_ioc_transfer &transfer, int result, int error)
{
    if (!active_.load(std::memory_order_acquire))
        return;
    const auto *sent = reinterpret_cast<const char *>(transfer.tx_buf);
    const auto *received = reinterpret_cast<const char *>(transfer.rx_buf);
    const std::size_t first = sent != nullptr ? trimmed(sent, transfer.len) : 0;
    const std::size_t clocked = result > 0 ? std::min<std::size_t>(transfer.len, static_cast<unsigned>(result)) : 0;
    const std::size_t second = received != nullptr ? trimmed(received, clocked) : 0;
    TraceRecord *record = begin(first + second);
    if (record == nullptr)
        return;
    record->kind = TraceRecord::Kind::burst;
    record->port = port;
    record->result = result < 0 ? -error : static_cast<int>(clocked);
    record->length = transfer.len;
    record->first = first;
    record->second = second;
    if (first != 0)
        std::memcpy(record->bytes.data(), sent, first);
    if (second != 0)
        std::memcpy(record->bytes.data() + first, received, second);
    hand_over(record);
}

void Trace::text(const std::string &line)
{
    if (!active_.load(std::memory_order_acquire))
        return;
    TraceRecord *record = begin(line.size());
    if (record == nullptr)
        return;
    record->kind = TraceRecord::Kind::text;
    record->first = line.copy(record->bytes.data(), line.size());
    hand_over(record);
}

void Trace::level(const char *line, bool by_host, bool high)
{
    text(std::string("line ") + line + (by_host ? " host " : " block ") + (high ? "high" : "low"));
}

void Trace::call(const char *method, GVariant *arguments)
{
    if (active_.load(std::memory_order_acquire) && !only_looks(method))
        text(std::string("call ") + method + " " + printed(arguments));
}

void Trace::told(const char *service, const char *property, GVariant *value)
{
    if (active_.load(std::memory_order_acquire))
        text(std::string("told ") + service + " " + property + " " + printed(value));
}

void Trace::signal(const char *path, const char *interface, const char *member, GVariant *arguments)
{
    if (active_.load(std::memory_order_acquire))
        text(std::string("signal ") + path + " " + interface + " " + member + " " + printed(arguments));
}

// The thread that writes.
void Trace::run()
{
    while (queue_->oldest() != nullptr) // what came too late for the last file
        queue_->drop();
    const std::string problem = file_.open();
    if (problem.empty() && !ending_) {
        set_active(true);
        options_.watch(this);
    }
    std::vector<Begun> begun;
    {
        const std::lock_guard lock(mutex_);
        beginning_ = false;
        begun.swap(begun_);
    }
    for (const Begun &each : begun)
        each(problem);
    bool good = problem.empty();
    for (bool last = false; good && !last;) {
        (void)work_.try_acquire_for(kWriteEvery);
        last = ending_;
        good = write_what_waits();
    }
    if (!good && problem.empty())
        syslog(LOG_WARNING, "The trace %s cannot be written: %s. It has ended; the camera goes on.",
               options_.path.c_str(), file_.problem().c_str());
    options_.watch(nullptr); // also where it was ended just when it began
    set_active(false);
    file_.close();
    std::vector<std::function<void()>> ended;
    {
        const std::lock_guard lock(mutex_);
        over_ = true;
        ended.swap(ended_);
    }
    for (const auto &each : ended)
        each();
}

bool Trace::write_what_waits()
{
    while (const TraceRecord *record = queue_->oldest()) {
        file_.add(*record);
        queue_->drop();
        if (file_.waiting() >= kMostWaiting && !file_.write())
            return false;
    }
    if (const unsigned lost = queue_->take_lost())
        file_.add_lost(now_us(), lost);
    return file_.write();
}
