// What the service does for moves and stops.
#include "glib_owned.h"
#include "ptzorvel/ptzd/service.h"

#include <syslog.h>
#include <utility>

namespace {

constexpr double kPictureWaitsS = 1; // for a block that is silent

} // namespace

void PtzService::make_motion()
{
    const auto run_urgent = [this](std::function<void(PTZDriver *)> work) {
        return queue_.queue.post([this, work = std::move(work)] { work(driver_); }, TaskQueue::Lane::urgent);
    };
    const auto refresh = [this, run_urgent] {
        run_urgent([this](PTZDriver *driver) {
            if (!gate_error(driver))
                host_.refresh();
        });
    };
    motion_ =
        std::make_unique<Motion>(Motion::Service{[this](const char *interface, const char *signal,
                                                        GVariant *parameters) { emit(interface, signal, parameters); },
                                                 [this] { return axis_ways(params().get()); },
                                                 [this](AxisMask axes) { stopper_->stop_axes(axes); }, refresh,
                                                 [this] {
                                                     position_signals_->look_soon();
                                                     picture_guard_->look_soon();
                                                 }},
                                 host_, options_.time_scale);
    stopper_ = std::make_unique<Stopper>(Stopper::Service{run_urgent, [this] { return motion_->reported(); },
                                                          [this] { return motion_->under_way(); },
                                                          [this](PTZDriver *driver) { return gate_error(driver); },
                                                          [this] { move_owners_->stopped(stopped_moves_); }},
                                         host_, stops_, options_.time_scale);
}

// What follows the camera's position, and its picture.
void PtzService::make_position()
{
    const auto emit_it = [this](const char *interface, const char *signal, GVariant *parameters) {
        emit(interface, signal, parameters);
    };
    const auto moving = [this] { return motion_->under_way(); };
    presets_ = std::make_unique<Presets>(Presets::Service{emit_it, moving}, options_.state_dir);
    const auto looked = [this](const AxisPositions &positions) {
        presets_->look(positions);
        motion_->position_looked();
    };
    position_signals_ = std::make_unique<PositionSignals>(PositionSignals::Service{emit_it, moving, looked}, host_,
                                                          options_.time_scale);
    const auto answers = [this] {
        return state_ == PTZ_STATE_RUNNING && host_.silence().value_or(0) <= kPictureWaitsS;
    };
    const auto freezes_all = [this] {
        const auto store = params();
        PTZDynamicalProperties *group = store != nullptr ? store->group("UserAdv") : nullptr;
        const auto mode = group != nullptr ? group->find("CamImageFreeze") : std::nullopt;
        return mode && param_value_to_text(mode->value) == "on";
    };
    picture_guard_ =
        std::make_unique<PictureGuard>(PictureGuard::Service{answers, [moving] { return moving() != 0; },
                                                             [this] { return motion_->goes_to_preset(); }, freezes_all},
                                       options_.time_scale);
}

void PtzService::stop(const CallPtr &call)
{
    if (refuse_hopeless(call))
        return;
    stopped_moves_ = move_owners_->latest();
    stopper_->stop_all(call);
    motion_->stop();
}

void PtzService::stop_abandoned_move()
{
    if (state_ == PTZ_STATE_RUNNING)
        syslog(LOG_INFO, "A client left while its move was running: stopping");
    stops_++;
    // Nobody asks for it in a replay, where no client leaves.
    const GVariantOwned nothing(g_variant_ref_sink(g_variant_new_tuple(nullptr, 0)));
    note_call("Stop", nothing.get());
    stop(nullptr);
}
