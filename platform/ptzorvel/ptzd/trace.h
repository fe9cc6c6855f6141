// The trace: what went over the SPI devices and GPIO lines of the process and what was asked of it over the bus, as
// lines of a text file (docs/trace.md has the form; krx-sim writes the same). Whoever records copies a few bytes and
// goes on; a thread of the trace's own makes lines of them and writes. What it cannot keep up with is left out, and
// said in the file.
#pragma once

#include "ptzorvel/ptzd/trace_file.h"
#include "ptzorvel/ptzd/trace_queue.h"

#include <gio/gio.h>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <semaphore>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

struct spi_ioc_transfer;

class Trace {
  public:
    struct Options {
        std::string path;          // of the file; what went before is in the one with ".1" behind its name
        std::uint64_t most_bytes;  // of both
        double time_scale = 1;     // how many times as fast the camera's time runs as the wall's
        std::string config_folder; // whose configuration goes into the head of each file
        std::string state_folder;  // and the values of parameters that are kept there
        // Has transfers and levels of the process recorded, or, with null, no more.
        void (*watch)(Trace *trace) = nullptr;
    };
    // Called on a thread of the trace's own: empty, or a sentence without its full stop.
    using Begun = std::function<void(const std::string &problem)>;

    explicit Trace(Options options);
    // Ends it, and waits until it is written.
    ~Trace();
    Trace(const Trace &) = delete;
    Trace &operator=(const Trace &) = delete;

    // Begins a file, or goes on with the one that is written or just begins. Main thread, which waits for no disk.
    void begin(Begun begun);
    // Ends it; what was recorded is still written, and `ended` then called, on any thread. Main thread.
    void end(std::function<void()> ended = {});
    // The file that is written; empty when none is. Any thread.
    std::string file() const { return active_.load(std::memory_order_acquire) ? options_.path : ""; }
    // Called with that whenever it changes, on any thread; not while it is set.
    void on_change(std::function<void(const std::string &file)> changed);

    // Records, from any thread: nothing while no file is written.
    void transfer(unsigned port, const spi_ioc_transfer &transfer, int result, int error);
    void level(const char *line, bool by_host, bool high);
    // A request that came over the bus; those that only look are left out.
    void call(const char *method, GVariant *arguments);
    // What another service says, asked or by itself.
    void told(const char *service, const char *property, GVariant *value);
    void signal(const char *path, const char *interface, const char *member, GVariant *arguments);
    // The service is told to end.
    void close() { text("close"); }

  private:
    std::int64_t now_us() const;
    void text(const std::string &line);
    // A record of now with room for so many bytes; null, and counted as lost, when there is none.
    TraceRecord *begin(std::size_t size);
    void hand_over(const TraceRecord *record);
    void run();
    bool write_what_waits();
    void set_active(bool active);

    const Options options_;
    const std::int64_t start_ns_;
    std::atomic<bool> active_{false};
    std::atomic<bool> ending_{false};
    std::atomic<bool> over_{true};      // the thread has no more to do
    std::unique_ptr<TraceQueue> queue_; // from the first file on
    TraceFile file_;                    // of the thread while there is one
    std::counting_semaphore<> work_{0};
    std::thread thread_;
    std::mutex mutex_;
    // Under the mutex
    std::function<void(const std::string &file)> changed_;
    bool beginning_ = false;
    std::vector<Begun> begun_;                 // whoever waits for the file
    std::vector<std::function<void()>> ended_; // and for the thread
};

// Records what the services of the image pipeline tell on this connection, from its making to its end.
class TraceEar {
  public:
    TraceEar(GDBusConnection *connection, Trace &trace);
    ~TraceEar();
    TraceEar(const TraceEar &) = delete;
    TraceEar &operator=(const TraceEar &) = delete;

  private:
    struct Heard;
    GDBusConnection *connection_;
    std::shared_ptr<Heard> heard_; // the connection's thread may be in it when this ends
    guint filter_ = 0;
};
