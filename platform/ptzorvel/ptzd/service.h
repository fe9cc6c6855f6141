// The PTZ service: one driver on one command thread, and its face on the bus.
//
// The main thread runs the GLib main loop and never waits for the camera; what concerns the driver is posted to the
// command thread and answered from there. Several services may live one after the other in one process.
#pragma once

#include "ptzorvel/common/param_store.h"
#include "ptzorvel/common/task_queue.h"
#include "ptzorvel/ptz_driver.h"
#include "ptzorvel/ptzd/bus_guard.h"
#include "ptzorvel/ptzd/call.h"
#include "ptzorvel/ptzd/changes.h"
#include "ptzorvel/ptzd/deadlines.h"
#include "ptzorvel/ptzd/driver_host.h"
#include "ptzorvel/ptzd/driver_modes.h"
#include "ptzorvel/ptzd/fair_queue.h"
#include "ptzorvel/ptzd/known_position.h"
#include "ptzorvel/ptzd/link_watch.h"
#include "ptzorvel/ptzd/metrics.h"
#include "ptzorvel/ptzd/metrics_file.h"
#include "ptzorvel/ptzd/motion.h"
#include "ptzorvel/ptzd/move_owners.h"
#include "ptzorvel/ptzd/param_keeper.h"
#include "ptzorvel/ptzd/picture_guard.h"
#include "ptzorvel/ptzd/position_signals.h"
#include "ptzorvel/ptzd/presets.h"
#include "ptzorvel/ptzd/service_manager.h"
#include "ptzorvel/ptzd/stopper.h"
#include "ptzorvel/ptzd/upgrade_log.h"
#include "ptzorvel/ptzd/upgrade_progress.h"

#include <atomic>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

// "running", "stopped, too cold", ... for a PTZ_STATE_*.
const char *state_text(int state);

class Trace;

class PtzService {
  public:
    struct Options {
        PTZDriverNewFunc driver_new = nullptr;
        int video_channel = 1;
        int id = 0;
        std::string state_dir{};      // where parameter values are kept; empty: nowhere
        double time_scale = 1;        // how many times as fast the camera's time runs as the wall's
        double start_timeout_s = 180; // a start without a good answer of the camera block is given up; 0: never
        double link_timeout_s = 30;   // seconds of silence before the camera block is reset; 0: it never is
        std::string metrics_file{};   // where numbers over time are written; empty: nowhere
        Trace *trace = nullptr;       // which outlives the service; null: there is none
    };
    // Called on the command thread.
    using Done = std::function<void()>;
    using Failed = std::function<void(const std::string &problem)>;
    using Work = std::function<void(PTZDriver *driver, Call &call)>;

    // Takes the bus name com.orna.PTZ, without waiting for it and without giving it away later. Null, and why, when
    // that cannot be had. Main thread, as everything here but what says otherwise.
    static std::unique_ptr<PtzService> create(GDBusConnection *connection, const Options &options,
                                              std::string &problem);
    // Closes what is not closed yet and waits for it.
    ~PtzService();
    PtzService(const PtzService &) = delete;
    PtzService &operator=(const PtzService &) = delete;

    // Constructs the driver, installs its parameters and opens it, on the command thread. `failed` is called when there
    // is no driver; a camera that does not start shows in the state.
    void start(Failed failed);

    // Cancels what runs and, before anything that still waits, ends the repeating tasks, closes the driver and releases
    // it; then calls `closed`. That takes 20 seconds of the camera's time at most, counted from the last chunk when it
    // takes a firmware image. Calls that wait are refused. Only the first close counts.
    void close(Done closed);

    int state() const { return state_; }
    double speed() const { return speed_; }
    const Options &options() const { return options_; }
    GDBusConnection *connection() const { return connection_; }

    // For the handlers of calls

    enum class Gate { any_state, running };
    // Has `work` run on the command thread with the driver, in the client's turn, after checking the gate now and again
    // then.
    void run(const CallPtr &call, Gate gate, Work work);
    // As run(), but only when that is at once: false, and nothing done, when the command thread has something to do.
    bool run_if_idle(const CallPtr &call, Gate gate, Work work);
    // Stops every axis ahead of what waits, cancelling every move that waits (stopper.h). Null: nobody is to be
    // answered.
    void stop(const CallPtr &call);
    MoveOwners &move_owners() { return *move_owners_; }
    // How many stops have come in. A move that was asked for before the latest is not to be carried out.
    unsigned stops() const { return stops_; }
    Motion &motion() { return *motion_; }
    Stopper &stopper() { return *stopper_; }
    BusGuard &guard() { return *guard_; }
    // Records a request; which file that goes to, empty: none. Any thread.
    void note_call(const char *method, GVariant *arguments) const;
    std::string trace_file() const;
    // The driver's parameters; null before there is a driver. Any thread.
    std::shared_ptr<ParamStore> params();
    // What the driver reported last; none before the first report. Any thread.
    struct Event {
        guint32 error_bits;
        std::string text;
    };
    std::optional<Event> last_event();
    // What became of the camera's firmware, over all starts.
    UpgradeLog &upgrades() { return upgrades_; }
    const UpgradeProgress &upgrade_progress() const { return upgrade_progress_; }
    // What the driver says of the image in the last start. Any thread.
    std::optional<ImageReport> image() const { return host_.upgrade(); }
    // Why the camera has failed to start, in words; empty when it has not. Any thread.
    std::string failure() const;
    // An image that has failed too often is tried again by the next start. Command thread.
    void try_image_again();
    // Any thread. Has work done on the command thread when its turn comes, if there is a driver then.
    void perform(std::function<void(PTZDriver *driver)> work);
    DriverHost &host() { return host_; }
    const LinkWatch &link_watch() const { return *link_watch_; }
    // Pieces of work that wait for the command thread or repeat there. Any thread.
    std::size_t tasks() const { return queue_.queue.waiting() + queue_.queue.repeating(); }
    // Numbers over time, as Metrics::text() has them. Any thread.
    std::string metrics() const;
    const KnownPosition &known_position() const { return known_position_; }
    // Any thread. Tells the bus; a floating value is taken over.
    void emit(const char *interface, const char *signal, GVariant *parameters);
    void property_changed(const char *name, GVariant *value);
    // A value has changed: tells the bus and keeps it in the state folder; `kept` then says how that went. Command
    // thread.
    void param_was_set(const std::string &group, const std::string &name, ParamKeeper::Done kept);
    // Command thread.
    Changes &changes() { return changes_; }
    DriverModes &modes() { return modes_; }
    const PositionSignals &position_signals() const { return *position_signals_; }
    Presets &presets() { return *presets_; }

  private:
    PtzService(GDBusConnection *connection, const Options &options);

    bool export_object(std::string &problem);
    bool take_name(std::string &problem);
    void release_name();
    void subscribe_camera_signals();
    void camera_signal(const char *name, GVariant *parameters);
    void post(const CallPtr &call, TaskQueue::Lane lane, Gate gate, Work work);
    std::function<void()> gated(const CallPtr &call, Gate gate, Work work);
    void make_motion();
    void make_position();
    // Stops on behalf of a client that has gone.
    void stop_abandoned_move();
    // Whether this state alone says that nothing can be done; `call`, unless null, is then refused.
    bool refuse_hopeless(const CallPtr &call) const;
    std::optional<CallError> gate_error(PTZDriver *driver) const; // null: there is no driver

    // Command thread
    bool make_driver(const Failed &failed);
    void note_config();
    void release_driver();
    void state_changed(int state);
    void note_upgrade(int state);
    void speed_changed(double speed);
    void param_changed(const std::string &group, const std::string &name);
    void driver_set_param(const std::string &group, const std::string &name);
    void event_reported(guint32 error_bits, const char *text);
    static void connect_driver(PTZDriver *driver, PtzService *service);

    GDBusConnection *connection_;
    const Options options_;
    PTZCommandQueue queue_;
    FairQueue works_{queue_.queue}; // of the clients
    Metrics metrics_;               // which the driver of the host tells
    DriverHost host_;
    Deadlines deadlines_;
    ServiceManager manager_{queue_.queue, host_, deadlines_};
    UpgradeLog upgrades_;
    UpgradeProgress upgrade_progress_{*this};
    KnownPosition known_position_{host_, options_.time_scale};
    std::unique_ptr<LinkWatch> link_watch_;
    std::unique_ptr<MoveOwners> move_owners_;
    std::unique_ptr<Motion> motion_;
    std::unique_ptr<Stopper> stopper_;
    std::unique_ptr<BusGuard> guard_;
    Changes changes_;
    DriverModes modes_{[this](const char *name, GVariant *value) { property_changed(name, value); }};
    std::unique_ptr<Presets> presets_;
    std::unique_ptr<PictureGuard> picture_guard_;
    std::unique_ptr<PositionSignals> position_signals_;
    std::unique_ptr<ParamKeeper> keeper_;
    std::unique_ptr<MetricsFile> metrics_file_;
    PTZDriver *driver_ = nullptr; // command thread
    bool upgrade_noted_ = false;  // command thread: that of this start
    mutable std::mutex mutex_;
    std::string config_fault_;                // under the mutex: the first that is an error
    std::shared_ptr<ParamStore> params_;      // under the mutex
    std::optional<Event> last_event_;         // under the mutex
    std::shared_ptr<GVariant> camera_signal_; // under the mutex: the latest that waits
    std::atomic<int> state_{PTZ_STATE_NOT_OPENED};
    std::atomic<double> speed_{100.0};
    std::atomic<unsigned> stops_{0};
    std::atomic<unsigned> stopped_moves_{0}; // the latest move that the latest stop is for
    std::atomic<bool> closing_{false};
    std::promise<void> released_; // kept when close has done its work
    bool started_ = false;
    guint registration_ = 0;
    guint preset_registration_ = 0;
    guint subscription_ = 0;
    bool owns_name_ = false;
};

// Whether the driver has an operation of its own in that slot: &PTZDriverClass::move.
template <typename Slot>
bool driver_replaces(PTZDriver *driver, Slot PTZDriverClass::*slot)
{
    const auto *base = static_cast<const PTZDriverClass *>(g_type_class_peek(PTZ_TYPE_DRIVER));
    return PTZ_DRIVER_GET_CLASS(driver)->*slot != base->*slot;
}

inline CallError not_supported(const char *what)
{
    return {ErrorKind::not_supported, std::string("The loaded driver cannot ") + what + "."};
}
