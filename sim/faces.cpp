#include "sim/faces.h"

#include "krx_sim_xml.h"

namespace sim {
namespace {

GVariant *counts(const Counts &counts)
{
    GVariantBuilder builder;
    g_variant_builder_init(&builder, G_VARIANT_TYPE("a{su}"));
    for (const auto &[name, count] : counts)
        g_variant_builder_add(&builder, "{su}", name.c_str(), count);
    return g_variant_builder_end(&builder);
}

GVariant *values(const Board &board)
{
    const Reading reading = board.reading();
    const std::pair<const char *, double> rows[] = {{"Pan", reading.pan},
                                                    {"Tilt", reading.tilt},
                                                    {"Zoom", reading.magnification},
                                                    {"Focus", reading.focus},
                                                    {"Iris", reading.exposure.iris},
                                                    {"Shutter", reading.exposure.shutter},
                                                    {"Gain", reading.exposure.gain},
                                                    {"Temperature", reading.temperature},
                                                    {"SensorFrequency", reading.sensor_frequency},
                                                    {"SensorHalted", reading.sensor_halted},
                                                    {"Firmware", reading.firmware},
                                                    {"Time", static_cast<double>(board.now()) / 1e6},
                                                    {"PanMoving", reading.pan_moving},
                                                    {"TiltMoving", reading.tilt_moving},
                                                    {"ZoomMoving", reading.zoom_moving},
                                                    {"FocusMoving", reading.focus_moving}};
    GVariantBuilder builder;
    g_variant_builder_init(&builder, G_VARIANT_TYPE("a{sd}"));
    for (const auto &[name, value] : rows)
        g_variant_builder_add(&builder, "{sd}", name, value);
    return g_variant_builder_end(&builder);
}

GVariant *lines(const Board &board)
{
    GVariantBuilder builder;
    g_variant_builder_init(&builder, G_VARIANT_TYPE("a{sb}"));
    for (std::size_t i = 0; i < kLines.size(); ++i)
        g_variant_builder_add(&builder, "{sb}", kLines[i].name, board.level(static_cast<Line>(i)) ? TRUE : FALSE);
    return g_variant_builder_end(&builder);
}

GVariant *settings(const Board &board)
{
    GVariantBuilder builder;
    g_variant_builder_init(&builder, G_VARIANT_TYPE("a{sai}"));
    for (std::size_t i = 0; i < kRecCount; ++i) {
        const auto id = static_cast<Rec>(i);
        const Values values = board.setting(id);
        g_variant_builder_add(
            &builder, "{s@ai}", row(id).name,
            g_variant_new_fixed_array(G_VARIANT_TYPE_INT32, values.data(), values.size(), sizeof values[0]));
    }
    return g_variant_builder_end(&builder);
}

GVariant *krx_sim(const Board &board, std::string_view property)
{
    if (property == "State")
        return g_variant_new_string(text(board.reading().state));
    if (property == "Values")
        return values(board);
    if (property == "Lines")
        return lines(board);
    if (property == "Settings")
        return settings(board);
    if (property == "Offences")
        return counts(board.offences());
    return counts(property == "Faults" ? board.faults() : board.records());
}

GVariant *image_control(const Board &board, std::string_view property)
{
    const Services services = board.services();
    if (property == "CaptureFrequency")
        return g_variant_new_uint32(services.capture_frequency);
    return g_variant_new_string(services.video_capture_mode.c_str());
}

GVariant *streamer(const Board &board, std::string_view)
{
    return g_variant_new_int32(board.services().rotation);
}

} // namespace

const std::array<Face, 3> kFaces{
    {{"com.orna.KrxSim", "/com/orna/KrxSim", kKrxSimXml, Fault::count, krx_sim},
     {"com.orna.ImageControl", "/com/orna/ImageControl/0/0", kImageControlXml, Fault::image_control, image_control},
     {"com.orna.Streamer", "/com/orna/Streamer/Video/Channel/1", kStreamerXml, Fault::streamer, streamer}}};

} // namespace sim
