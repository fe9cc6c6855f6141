#include "sim/dbus_face.h"

#include "krx_sim_xml.h"

#include <cstring>

namespace sim {
namespace {

constexpr char kName[] = "com.orna.KrxSim";
constexpr char kPath[] = "/com/orna/KrxSim";

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
                                                    {"Temperature", reading.temperature},
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

void call_method(GDBusConnection *, const char *, const char *, const char *, const char *, GVariant *parameters,
                 GDBusMethodInvocation *invocation, gpointer board)
{
    const char *line = nullptr;
    g_variant_get(parameters, "(&s)", &line);
    const CommandResult result = static_cast<Board *>(board)->command(line);
    if (result.ok)
        g_dbus_method_invocation_return_value(invocation, g_variant_new("(s)", result.text.c_str()));
    else
        g_dbus_method_invocation_return_dbus_error(invocation, "com.orna.KrxSim.Error.BadCommand", result.text.c_str());
}

GVariant *get_property(GDBusConnection *, const char *, const char *, const char *, const char *property, GError **,
                       gpointer data)
{
    const Board &board = *static_cast<Board *>(data);
    if (std::strcmp(property, "State") == 0)
        return g_variant_new_string(text(board.reading().state));
    if (std::strcmp(property, "Values") == 0)
        return values(board);
    if (std::strcmp(property, "Lines") == 0)
        return lines(board);
    if (std::strcmp(property, "Offences") == 0)
        return counts(board.offences());
    if (std::strcmp(property, "Faults") == 0)
        return counts(board.faults());
    return counts(board.records());
}

const GDBusInterfaceVTable kTable{call_method, get_property, nullptr, {}};

void name_lost(GDBusConnection *connection, const char *name, gpointer)
{
    if (connection)
        g_printerr("krx-sim: the bus name %s belongs to somebody else; running without it\n", name);
}

} // namespace

DBusFace::DBusFace(Board &board) : board_(board)
{
    GError *error = nullptr;
    connection_ = g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, &error);
    if (!connection_) {
        g_printerr("krx-sim: running without D-Bus: %s\n", error->message);
        g_error_free(error);
        return;
    }
    // The simulator outlives a bus that goes away.
    g_dbus_connection_set_exit_on_close(connection_, FALSE);
    serve(connection_);
}

void DBusFace::serve(GDBusConnection *connection)
{
    GError *error = nullptr;
    node_ = g_dbus_node_info_new_for_xml(kInterfaceXml, &error);
    if (node_)
        object_ = g_dbus_connection_register_object(connection, kPath, node_->interfaces[0], &kTable, &board_, nullptr,
                                                    &error);
    if (error) {
        g_printerr("krx-sim: cannot serve on D-Bus: %s\n", error->message);
        g_error_free(error);
        return;
    }
    name_ = g_bus_own_name_on_connection(connection, kName, G_BUS_NAME_OWNER_FLAGS_NONE, nullptr, name_lost, nullptr,
                                         nullptr);
}

DBusFace::~DBusFace()
{
    if (name_)
        g_bus_unown_name(name_);
    if (object_)
        g_dbus_connection_unregister_object(connection_, object_);
    if (node_)
        g_dbus_node_info_unref(node_);
    if (connection_)
        g_object_unref(connection_);
}

} // namespace sim
