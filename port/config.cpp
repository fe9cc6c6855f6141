#include "port/config.h"

#include "core/guard.h"
#include "core/log.h"
#include "core/paths.h"
#include "glib_owned.h"
#include "port/settings.h"
#include "port/spi_port.h"

#include <optional>
#include <string>
#include <vector>

namespace {

constexpr char INTROSPECTION[] = "<?xml version=\"1.0\" encoding=\"UTF-8\" ?><node>"
                                 "  <interface name=\"com.orna.PTZ.Port.KRX\">"
                                 "    <property name=\"BurstLength\" type=\"i\" access=\"write\"/>"
                                 "    <property name=\"TriggerMode\" type=\"i\" access=\"write\"/>"
                                 "  </interface></node>";

struct PortRecord {
    GText device;
    int request_pin = 0;
    GText request_pin_named;
    int burst_len = PORT_BURST_LENGTH_DEFAULT;
    int trig_mode = PORT_TRIGGER_LEVEL_THEN_EDGE;
};

// An entry is empty when its group is missing.
using PortTable = std::vector<std::optional<PortRecord>>;

std::optional<PortTable> port_table; // none until loaded

int port_count()
{
    return static_cast<int>(port_table->size());
}

constexpr char READ_FAILURE[] = "Failed to read config file parameter %s:%s";

// The integer at `key`, or `fallback` without such a key and, with a warning, when it is no integer.
int optional_integer(GKeyFile *file, const char *group, const char *key, int fallback)
{
    if (!g_key_file_has_key(file, group, key, nullptr))
        return fallback;
    GErrorSlot error;
    const int value = g_key_file_get_integer(file, group, key, error);
    if (!error)
        return value;
    log_warning(READ_FAILURE, group, key);
    return fallback;
}

GText text_or(GKeyFile *file, const char *group, const char *key, const char *fallback)
{
    GErrorSlot error;
    GText text(g_key_file_get_string(file, group, key, error));
    if (error) { // a bad escape gives a text all the same
        log_warning(READ_FAILURE, group, key);
        text.reset(g_strdup(fallback));
    }
    return text;
}

PortRecord read_record(GKeyFile *file, const char *group)
{
    PortRecord record;
    record.device = text_or(file, group, "Device", "/dev/spidev1.0");
    GErrorSlot error;
    record.request_pin = g_key_file_get_integer(file, group, "RequestPin", error);
    if (error) {
        record.request_pin = -1;
        record.request_pin_named = text_or(file, group, "RequestPin", "imc_req");
    }
    record.burst_len = optional_integer(file, group, "BurstLenght", PORT_BURST_LENGTH_DEFAULT);
    record.trig_mode = optional_integer(file, group, "TriggerMode", PORT_TRIGGER_LEVEL_THEN_EDGE);
    return record;
}

bool read_common(GKeyFile *file, int *ports)
{
    GErrorSlot error;
    *ports = g_key_file_get_integer(file, PORTS_GROUP, "Ports", error);
    if (error || *ports > PORTS_MAX) {
        log_error(READ_FAILURE, PORTS_GROUP, "Ports");
        return false;
    }
    if (!g_key_file_has_key(file, PORTS_GROUP, "BigEndian", nullptr))
        return true;
    const bool big_endian = g_key_file_get_boolean(file, PORTS_GROUP, "BigEndian", error) != FALSE;
    if (error) {
        log_error(READ_FAILURE, PORTS_GROUP, "BigEndian");
        return false;
    }
    port_transfer_settings.big_endian = big_endian;
    return true;
}

bool load_ports()
{
    const GKeyFileOwned file(g_key_file_new());
    if (file == nullptr) {
        log_error("Failed to allocate config file parser");
        return false;
    }
    if (!g_key_file_load_from_file(file.get(), data_path("krx_port.conf").c_str(), G_KEY_FILE_NONE, nullptr)) {
        log_error("Failed to load port config file");
        return false;
    }
    int ports = 0;
    if (!read_common(file.get(), &ports))
        return false;
    PortTable table;
    for (int i = 0; i < ports; ++i) {
        const std::string group = ptz_port_canon_group(i);
        std::optional<PortRecord> &entry = table.emplace_back();
        if (g_key_file_has_group(file.get(), group.c_str()))
            entry = read_record(file.get(), group.c_str());
        else
            log_warning("Could not find group %s", group.c_str());
    }
    port_table = std::move(table);
    return true;
}

} // namespace

std::string ptz_port_canon_group(int port_index)
{
    return "KRX_PORT" + std::to_string(port_index);
}

PTZPort *ptz_port_canon_new(int port_index)
{
    if (!port_table && !load_ports())
        return nullptr;
    GUARD(0 <= port_index && port_index < port_count(), nullptr);
    const std::optional<PortRecord> &record = (*port_table)[static_cast<std::size_t>(port_index)];
    if (!record) {
        log_error("Could not find group %s", ptz_port_canon_group(port_index).c_str());
        return nullptr;
    }
    auto *self = static_cast<PTZPortCanon *>(g_object_new(ptz_port_canon_get_type(), nullptr));
    self->port_index = port_index;
    g_object_set(self, "device", record->device.get(), "request_pin", record->request_pin, "request_pin_named",
                 record->request_pin_named.get(), "burst_len", record->burst_len, "trig_mode", record->trig_mode,
                 nullptr);
    GText name(g_strdup_printf("Port.KRX.SIO%d", port_index));
    self->dbus_server = ptz_port_dbus_server_new(G_OBJECT(self), INTROSPECTION, name.get());
    PTZPort *port = &self->parent_instance;
    g_free(port->name);
    port->name = name.release();
    return port;
}

void ptz_port_canon_forget_config()
{
    port_table.reset();
    port_transfer_settings.big_endian = false;
}
