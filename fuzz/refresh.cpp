// A refresh over any payload of the camera block: what is derived from it and published.
#include "driver/operations.h"
#include "fuzz/bench.h"
#include "fuzz/target.h"
#include "utils/publish.h"
#include "utils/status.h"
#include "vcc/status.h"

#include <cmath>

FUZZ_TARGET(refresh)
{
    FuzzBench bench;
    bench.make_driver();
    PTZDriverCanon *self = bench.driver;
    self->datacache_is_used = TRUE;
    bench.port.status.assign(input.begin(),
                             input.begin() + static_cast<long>(std::min<std::size_t>(input.size(), 1024)));
    const bool all = ptz_driver_canon_cmd_update_status(self) != FALSE;
    HOLDS(self->rx_buffer->len == 0 && all == vccif_is_all_status_available());

    const CameraState &now = self->current;
    HOLDS(now.focus_zenta <= 9999 && now.focus_position <= 0xFFFF);
    HOLDS(std::isfinite(now.zoom_magnification) && std::isfinite(now.pan_degree) && std::isfinite(now.tilt_degree));
    HOLDS(std::isfinite(now.hfov) && std::isfinite(now.vfov) && std::isfinite(now.mask_hfov));
    HOLDS(input.empty() || (now.pan_moving | now.tilt_moving | now.zoom_moving | now.focus_moving) >> 1 == 0);
    HOLDS((vccif_inq_error_info(self) & ~0xDE) == 0);

    // What a client is told of it.
    PTZDriver *base = ptz_driver_of(self);
    std::array<gint32, 6> told{};
    ptz_driver_canon_op_get_position(base, &told[0], &told[1], &told[2], &told[3], &told[4], &told[5]);
    HOLDS(!ptz_driver_canon_op_get_field_of_view(base, 0, &told[0], &told[1], &told[2], &told[3]));
}
