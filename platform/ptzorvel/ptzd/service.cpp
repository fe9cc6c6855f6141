#include "ptzorvel/ptzd/service.h"

#include "glib_owned.h"
#include "ptzorvel/driver/data_caches.h"
#include "ptzorvel/driver/driver_private.h"
#include "ptzorvel/ports/port_registry.h"
#include "ptzorvel/ptzd/calls.h"
#include "ptzorvel/ptzd/face.h"
#include "ptzorvel/ptzd/trace.h"

#include <chrono>
#include <syslog.h>
#include <utility>

namespace {

constexpr char kBusName[] = "com.orna.PTZ";
constexpr guint32 kNameFlagDoNotQueue = 4;
constexpr guint32 kNameReplyPrimaryOwner = 1;

// Why nothing can be done in this state, and what to do.
std::string not_ready_text(int state)
{
    static constexpr const char *kAdvice[] = {
        "Try again in a moment.",
        "",
        "It starts by itself when it is warm enough.",
        "It starts by itself when it has cooled down.",
        "Try again when the state is running.",
        "Do not switch it off; try again when the state is running.",
        "Start the PTZ service again.",
        "See the system log, then run the special command \"reset\".",
    };
    return std::string("The camera is not ready (") + state_text(state) + "). " + kAdvice[state];
}

} // namespace

const char *state_text(int state)
{
    static constexpr const char *kTexts[] = {
        "not opened", "running", "stopped, too cold", "stopped, too hot", "starting", "upgrading its firmware",
        "closed",     "failed",
    };
    return state >= 0 && state < static_cast<int>(std::size(kTexts)) ? kTexts[state] : "unknown";
}

PtzService::PtzService(GDBusConnection *connection, const Options &options)
    : connection_(G_DBUS_CONNECTION(g_object_ref(connection))), options_(options),
      deadlines_(host_, queue_.queue, options.start_timeout_s, options.time_scale), upgrades_(options.state_dir),
      changes_(queue_.queue, host_, [this] { return state_ == PTZ_STATE_RUNNING ? driver_ : nullptr; }),
      keeper_(std::make_unique<ParamKeeper>(options.state_dir))
{
    link_watch_ = std::make_unique<LinkWatch>(*this, options.time_scale, options.link_timeout_s);
    move_owners_ = std::make_unique<MoveOwners>(connection, [this] { stop_abandoned_move(); });
    make_position();
    make_motion();
    guard_ = std::make_unique<BusGuard>(connection,
                                        BusGuard::Handlers{&stops_,
                                                           [this](const CallPtr &call) {
                                                               note_call("Stop", call->parameters());
                                                               call_stop(*this, call);
                                                           },
                                                           [this](const std::string &client) { works_.left(client); }});
}

std::unique_ptr<PtzService> PtzService::create(GDBusConnection *connection, const Options &options,
                                               std::string &problem)
{
    std::unique_ptr<PtzService> service(new PtzService(connection, options));
    if (!service->export_object(problem) || !service->take_name(problem))
        return nullptr;
    if (options.trace != nullptr)
        options.trace->on_change([self = service.get()](const std::string &file) {
            self->property_changed("Trace", g_variant_new_string(file.c_str()));
        });
    return service;
}

PtzService::~PtzService()
{
    if (options_.trace != nullptr)
        options_.trace->on_change({});
    if (subscription_ != 0)
        g_dbus_connection_signal_unsubscribe(connection_, subscription_);
    close({});
    const auto released = released_.get_future();
    while (started_ && released.wait_for(std::chrono::milliseconds(1)) != std::future_status::ready)
        deadlines_.look();
    metrics_file_.reset();
    queue_.queue.shutdown();
    picture_guard_.reset();
    position_signals_.reset();
    presets_.reset();
    keeper_.reset();
    if (ptz_command_queue_current() == &queue_) {
        ptz_command_queue_set_current(nullptr);
        ptz_ports_set_connection(nullptr);
    }
    guard_.reset();
    move_owners_.reset();
    for (const guint registration : {registration_, preset_registration_})
        if (registration != 0)
            g_dbus_connection_unregister_object(connection_, registration);
    release_name();
    g_object_unref(connection_);
}

bool PtzService::export_object(std::string &problem)
{
    GErrorSlot error;
    registration_ = register_face(*this, error);
    preset_registration_ = registration_ != 0 ? register_presets_face(*this, error) : 0;
    if (preset_registration_ == 0)
        problem = std::string("Cannot put the PTZ service on the bus: ") + error->message;
    return preset_registration_ != 0;
}

bool PtzService::take_name(std::string &problem)
{
    GErrorSlot error;
    const GVariantOwned reply(g_dbus_connection_call_sync(
        connection_, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "RequestName",
        g_variant_new("(su)", kBusName, kNameFlagDoNotQueue), G_VARIANT_TYPE("(u)"), G_DBUS_CALL_FLAGS_NONE, -1,
        nullptr, error));
    if (reply == nullptr) {
        problem = std::string("Cannot take the name com.orna.PTZ on the bus: ") + error->message +
                  ". The bus policy must allow it (com.orna.PTZ.conf).";
        return false;
    }
    guint32 result = 0;
    g_variant_get(reply.get(), "(u)", &result);
    owns_name_ = result == kNameReplyPrimaryOwner;
    if (!owns_name_)
        problem = "A PTZ service runs on this bus already (com.orna.PTZ is taken). Stop that one first, or give this "
                  "one another bus with DBUS_SYSTEM_BUS_ADDRESS.";
    return owns_name_;
}

void PtzService::release_name()
{
    if (!std::exchange(owns_name_, false) || g_dbus_connection_is_closed(connection_))
        return;
    const GVariantOwned reply(g_dbus_connection_call_sync(
        connection_, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "ReleaseName",
        g_variant_new("(s)", kBusName), nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr));
}

void PtzService::start(Failed failed)
{
    queue_set_time_scale(options_.time_scale);
    ptz_command_queue_set_current(&queue_);
    ptz_ports_set_connection(connection_);
    subscribe_camera_signals();
    metrics_file_ = std::make_unique<MetricsFile>(options_.metrics_file, [this] { return metrics(); });
    started_ = true;
    queue_.queue.start();
    queue_.queue.post([this, failed = std::move(failed)] {
        if (make_driver(failed))
            PTZ_DRIVER_GET_CLASS(driver_)->open(driver_);
    });
}

void PtzService::close(Done closed)
{
    if (closing_.exchange(true))
        return;
    if (options_.trace != nullptr)
        options_.trace->close();
    deadlines_.end();
    manager_.end();
    queue_.queue.post(
        [this, closed = std::move(closed)] {
            deadlines_.close_begins();
            queue_.queue.cancel_repeating();
            stopper_->stop_at_end(driver_);
            if (driver_ != nullptr)
                PTZ_DRIVER_GET_CLASS(driver_)->close(driver_);
            // Nothing runs after the close: what waits may carry a driver that is about to go.
            queue_.queue.close();
            works_.close();
            release_driver();
            if (closed)
                closed();
            released_.set_value();
        },
        TaskQueue::Lane::urgent);
}

bool PtzService::make_driver(const Failed &failed)
{
    PTZDriver *driver = options_.driver_new(options_.video_channel, options_.id);
    if (!PTZ_IS_DRIVER(driver)) {
        if (failed)
            failed(driver == nullptr ? "The plug-in made no driver; see the system log."
                                     : "The plug-in made something that is not a PTZ driver; it was built for another "
                                       "framework.");
        return false;
    }
    driver_ = driver;
    host_.attach(driver, options_.time_scale, metrics_.observer());
    host_.hold_image(upgrades_.held_image());
    note_config();
    connect_driver(driver, this);
    modes_.look(driver);
    PTZ_DRIVER_GET_CLASS(driver)->install_params(driver);
    const auto params = driver_private(driver).params;
    keeper_->load(*params);
    const std::lock_guard lock(mutex_);
    params_ = params;
    return true;
}

void PtzService::note_config()
{
    std::string fault;
    for (const std::string &problem : host_.config_problems()) {
        const bool serious = problem.find(": error: ") != std::string::npos;
        syslog(serious ? LOG_ERR : LOG_WARNING, "%s", problem.c_str());
        if (serious && fault.empty())
            fault = problem;
    }
    if (fault.empty())
        return;
    deadlines_.hurry();
    const std::lock_guard lock(mutex_);
    config_fault_ = fault;
}

void PtzService::release_driver()
{
    PTZDriver *driver = std::exchange(driver_, nullptr);
    if (driver == nullptr)
        return;
    g_signal_handlers_disconnect_by_data(driver, this);
    host_.detach();
    g_object_unref(driver);
    const std::lock_guard lock(mutex_);
    params_.reset();
}

std::optional<CallError> PtzService::gate_error(PTZDriver *driver) const
{
    const int state = state_;
    const bool temperature = state == PTZ_STATE_RUNNING || state == PTZ_STATE_TOO_COLD || state == PTZ_STATE_TOO_HOT;
    if (const char *busy = driver != nullptr && temperature ? ptz_driver_busy_text(driver) : nullptr)
        return CallError{ErrorKind::busy, busy};
    if (driver != nullptr && state == PTZ_STATE_RUNNING)
        return std::nullopt;
    return CallError{ErrorKind::not_ready, not_ready_text(state)};
}

void PtzService::run(const CallPtr &call, Gate gate, Work work)
{
    post(call, TaskQueue::Lane::normal, gate, std::move(work));
}

bool PtzService::run_if_idle(const CallPtr &call, Gate gate, Work work)
{
    return queue_.queue.post_if_idle(gated(call, gate, std::move(work)));
}

void PtzService::perform(std::function<void(PTZDriver *driver)> work)
{
    queue_.queue.post([this, work = std::move(work)] {
        if (driver_ != nullptr)
            work(driver_);
    });
}

bool PtzService::refuse_hopeless(const CallPtr &call) const
{
    const int state = state_;
    const bool hopeless = state != PTZ_STATE_RUNNING && state != PTZ_STATE_TOO_COLD && state != PTZ_STATE_TOO_HOT;
    if (hopeless && call != nullptr)
        call->refuse({ErrorKind::not_ready, not_ready_text(state)});
    return hopeless;
}

void PtzService::post(const CallPtr &call, TaskQueue::Lane lane, Gate gate, Work work)
{
    // A camera that starts or is gone answers at once, instead of after all that waits; whether it is too warm or too
    // cold only the command thread knows.
    if (gate == Gate::running && refuse_hopeless(call))
        return;
    auto work_of_call = gated(call, gate, std::move(work));
    if (lane == TaskQueue::Lane::urgent)
        queue_.queue.post(std::move(work_of_call), lane);
    else
        works_.post(call->sender(), std::move(work_of_call));
}

std::function<void()> PtzService::gated(const CallPtr &call, Gate gate, Work work)
{
    return [this, call, gate, work = std::move(work)] {
        if (driver_ == nullptr) {
            call->refuse({ErrorKind::not_ready, not_ready_text(state_)});
            return;
        }
        const auto error = gate == Gate::running ? gate_error(driver_) : std::nullopt;
        if (error)
            call->refuse(*error);
        else
            work(driver_, *call);
    };
}

std::shared_ptr<ParamStore> PtzService::params()
{
    const std::lock_guard lock(mutex_);
    return params_;
}

std::optional<PtzService::Event> PtzService::last_event()
{
    const std::lock_guard lock(mutex_);
    return last_event_;
}

std::string PtzService::metrics() const
{
    MetricsNow now;
    now.state = state_;
    now.link_up = std::string_view(link_watch_->link()) == "up";
    now.outages = link_watch_->outages();
    now.resets = link_watch_->resets();
    now.reboots = link_watch_->reboots();
    now.waiting = queue_.queue.waiting();
    now.repeating = queue_.queue.repeating();
    now.status_age_s = host_.status_age();
    now.temperature = ptz_camera_temperature();
    return metrics_.text(now);
}

std::string PtzService::failure() const
{
    if (state_ != PTZ_STATE_FAILED)
        return "";
    const std::string cut = deadlines_.start_cut();
    std::string text = cut.empty() ? host_.failure() : cut;
    const std::lock_guard lock(mutex_);
    if (!config_fault_.empty())
        text += (text.empty() ? "" : "; ") + config_fault_;
    return text.empty() ? "see the system log" : text;
}

void PtzService::try_image_again()
{
    upgrades_.forget_failures();
    host_.hold_image("");
}

void PtzService::param_was_set(const std::string &group, const std::string &name, ParamKeeper::Done kept)
{
    param_changed(group, name);
    keeper_->save(*driver_private(driver_).params, std::move(kept));
}
