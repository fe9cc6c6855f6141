#include "port/spi_port.h"

#include "core/log.h"
#include "port/settings.h"
#include "port/transfer.h"
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <linux/spi/spidev.h>
#include <sys/ioctl.h>
#include <unistd.h>
#include <utility>

G_DEFINE_TYPE(PTZPortCanon, ptz_port_canon, ptz_port_get_type())

namespace {

PTZPortCanon *port_canon_of(void *port)
{
    return G_TYPE_CHECK_INSTANCE_CAST(port, ptz_port_canon_get_type(), PTZPortCanon);
}

const char *text_of(const char *text)
{
    return text != nullptr ? text : "";
}

void put_in_force(const PTZPortCanon *self)
{
    port_transfer_settings.burst_length = self->burst_len;
    port_transfer_settings.trigger_mode = self->trig_mode;
}

void put_in_force_if_open(const PTZPortCanon *self)
{
    if (self->parent_instance.fd >= 0)
        put_in_force(self);
}

// Each value is written, then read back: what the device made of it is what the next open asks for.
bool set_up_device(int fd)
{
    PortTransferSettings &settings = port_transfer_settings;
    const struct {
        unsigned long request;
        void *value;
        const char *failure;
    } steps[] = {
        {SPI_IOC_WR_MODE32, &settings.spi_mode, "Could not set spi mode"},
        {SPI_IOC_RD_MODE32, &settings.spi_mode, "Could not get spi mode"},
        {SPI_IOC_WR_BITS_PER_WORD, &settings.bits_per_word, "Could not set bits per word"},
        {SPI_IOC_RD_BITS_PER_WORD, &settings.bits_per_word, "Could not get bits per word"},
        {SPI_IOC_WR_MAX_SPEED_HZ, &settings.max_speed_hz, "Could not set max speed hz"},
        {SPI_IOC_RD_MAX_SPEED_HZ, &settings.max_speed_hz, "Could not get max speed hz"},
    };
    for (const auto &step : steps) {
        if (ioctl(fd, step.request, step.value) < 0) {
            log_error("%s", step.failure);
            return false;
        }
    }
    return true;
}

// False only when the flags were read but could not be set; without them the port works, blocking.
bool make_non_blocking(int fd, const char *device)
{
    const int flags = fcntl(fd, F_GETFL);
    if (flags < 0) {
        log_error("Get file status flags for device \"%s\" failed.", device);
        return true;
    }
    if (fcntl(fd, F_SETFL, flags | O_NONBLOCK) < 0) {
        log_error("Set file status flags for device \"%s\" failed.", device);
        return false;
    }
    return true;
}

// The descriptor of the device, ready for transfers, or -1 after a message.
int open_device(const char *device)
{
    int fd = open(device, O_RDWR | O_CLOEXEC);
    if (fd < 0) {
        const int error = errno;
        log_error("Fatal error, faild to open device \"%s\". (%s:%d)", device, g_strerror(error), error);
        return -1;
    }
    if (!set_up_device(fd)) {
        log_error("Faild to set spi device \"%s\".", device);
        close_fd(&fd);
    } else if (!make_non_blocking(fd, device)) {
        close_fd(&fd);
    }
    return fd;
}

// The most bytes of one burst, or 0 where that cannot be told: spidev's parameter, set when it was loaded.
int device_buffer_size()
{
    int fd = open("/sys/module/spidev/parameters/bufsiz", O_RDONLY | O_CLOEXEC);
    char text[16] = {};
    if (fd < 0 || read(fd, text, sizeof text - 1) < 0)
        text[0] = '\0';
    close_fd(&fd);
    return std::atoi(text);
}

// The device refuses each burst that its buffer does not hold, and says no more than that the message is too long.
void check_burst_length(const PTZPortCanon *self)
{
    const int burst = ptz_port_canon_clocked_length(self->burst_len), size = device_buffer_size();
    if (0 < size && size < burst)
        log_error(
            "Bursts of %d bytes are more than device \"%s\" takes: set the kernel's parameter spidev.bufsiz, now %d, "
            "to at least as many.",
            burst, text_of(self->device), size);
}

int port_open(PTZPort *port)
{
    return ptz_port_canon_set_spidev(port_canon_of(port));
}

int port_close(PTZPort *port)
{
    const int result = close_fd(&port->fd);
    if (result >= 0)
        PTZ_PORT_GET_CLASS(port)->port_closed(port, 0);
    return result;
}

int port_read(PTZPort *port, void *buffer, int length, int, int)
{
    return ptz_port_canon_read_frame(port_canon_of(port), buffer, length);
}

int port_write(PTZPort *port, const void *buffer, int length, int, int)
{
    return ptz_port_canon_write_frame(port_canon_of(port), buffer, length);
}

enum PropertyId { PROP_DEVICE = 1, PROP_REQUEST_PIN, PROP_REQUEST_PIN_NAMED, PROP_BURST_LEN, PROP_TRIG_MODE };

void replace_text(char **text, const GValue *value)
{
    if (g_strcmp0(*text, g_value_get_string(value)) == 0)
        return;
    g_free(*text);
    *text = g_value_dup_string(value);
}

void replace_transfer_value(PTZPortCanon *self, int *field, int value)
{
    if (*field == value)
        return;
    *field = value;
    put_in_force_if_open(self);
}

void set_property(GObject *object, guint id, const GValue *value, GParamSpec *)
{
    PTZPortCanon *self = port_canon_of(object);
    switch (id) {
    case PROP_DEVICE:
        replace_text(&self->device, value);
        break;
    case PROP_REQUEST_PIN:
        self->request.number = g_value_get_int(value);
        break;
    case PROP_REQUEST_PIN_NAMED:
        replace_text(&self->request.name, value);
        break;
    case PROP_BURST_LEN:
        replace_transfer_value(self, &self->burst_len, g_value_get_int(value));
        break;
    case PROP_TRIG_MODE:
        replace_transfer_value(self, &self->trig_mode, g_value_get_int(value));
        break;
    }
}

void get_property(GObject *object, guint id, GValue *value, GParamSpec *)
{
    const PTZPortCanon *self = port_canon_of(object);
    switch (id) {
    case PROP_DEVICE:
        g_value_set_string(value, self->device);
        break;
    case PROP_REQUEST_PIN:
        g_value_set_int(value, self->request.number);
        break;
    case PROP_REQUEST_PIN_NAMED:
        g_value_set_string(value, self->request.name);
        break;
    case PROP_BURST_LEN:
        g_value_set_int(value, self->burst_len);
        break;
    case PROP_TRIG_MODE:
        g_value_set_int(value, self->trig_mode);
        break;
    }
}

void dispose(GObject *object)
{
    // Dispose may run more than once.
    if (GObject *server = std::exchange(port_canon_of(object)->dbus_server, nullptr))
        g_object_unref(server);
    G_OBJECT_CLASS(ptz_port_canon_parent_class)->dispose(object);
}

void finalize(GObject *object)
{
    PTZPortCanon *self = port_canon_of(object);
    close_fd(&self->parent_instance.fd);
    g_free(self->device);
    g_free(self->request.name);
    G_OBJECT_CLASS(ptz_port_canon_parent_class)->finalize(object);
}

void install_properties(GObjectClass *klass)
{
    const auto text = [&](guint id, const char *name, const char *nick, const char *blurb, const char *fallback) {
        g_object_class_install_property(klass, id, g_param_spec_string(name, nick, blurb, fallback, G_PARAM_READWRITE));
    };
    const auto number = [&](guint id, const char *name, const char *nick, const char *blurb, int min, int max,
                            int fallback) {
        g_object_class_install_property(klass, id,
                                        g_param_spec_int(name, nick, blurb, min, max, fallback, G_PARAM_READWRITE));
    };
    text(PROP_DEVICE, "device", "Device name", "PTZ Port Device Name", "/dev/spidev1.0");
    number(PROP_REQUEST_PIN, "request_pin", "request pin number", "PTZ Port Request Pin", -1, PORT_REQUEST_PIN_MAX, -1);
    text(PROP_REQUEST_PIN_NAMED, "request_pin_named", "request pin name", "PTZ Port Request Pin", "imc_req");
    number(PROP_BURST_LEN, "burst_len", "Burst Length", "PTZ Burst Length", PORT_BURST_LENGTH_MIN, PORT_FRAME_MAX,
           PORT_BURST_LENGTH_DEFAULT);
    number(PROP_TRIG_MODE, "trig_mode", "Trigger Mode", "PTZ Trigger mode", 0, PORT_TRIGGER_MAX,
           PORT_TRIGGER_LEVEL_THEN_EDGE);
}

} // namespace

static void ptz_port_canon_class_init(PTZPortCanonClass *klass)
{
    GObjectClass *object_class = G_OBJECT_CLASS(klass);
    object_class->set_property = set_property;
    object_class->get_property = get_property;
    object_class->dispose = dispose;
    object_class->finalize = finalize;
    PTZPortClass *port_class = PTZ_PORT_CLASS(klass);
    port_class->port_open = port_open;
    port_class->port_close = port_close;
    port_class->port_read = port_read;
    port_class->port_write = port_write;
    port_class->port_config = ptz_port_canon_config;
    install_properties(object_class);
}

// The object is born zeroed, which is what its fields start with.
static void ptz_port_canon_init(PTZPortCanon *self)
{
    self->parent_instance.fd = -1;
}

int ptz_port_canon_set_spidev(PTZPortCanon *self)
{
    close_fd(&self->parent_instance.fd);
    const int fd = open_device(text_of(self->device));
    self->parent_instance.fd = fd;
    if (fd < 0)
        return -1;
    put_in_force(self);
    check_burst_length(self);
    PTZPort *port = &self->parent_instance;
    PTZ_PORT_GET_CLASS(port)->port_opened(port);
    return fd;
}

void ptz_port_canon_config(PTZPort *base, const PTZPortConfig *config)
{
    if (base == nullptr) // not g_assert(): that would print the whole C++ signature
        g_assertion_message_expr(G_LOG_DOMAIN, __FILE__, __LINE__, __func__, "base != NULL");
    if (config == nullptr)
        return;
    PTZPortCanon *self = port_canon_of(base);
    if (config->burst_len != 0)
        self->burst_len = config->burst_len;
    if (config->trig_mode != 0)
        self->trig_mode = config->trig_mode;
    put_in_force_if_open(self);
}

bool ptz_port_canon_open_ref(PTZPort *port)
{
    if (port == nullptr || PTZ_PORT_GET_CLASS(port)->port_open(port) < 0) {
        log_error("Failed to open port");
        return false;
    }
    g_object_ref(port);
    return true;
}

void ptz_port_canon_close_unref(PTZPort *port)
{
    if (port == nullptr)
        return;
    PTZ_PORT_GET_CLASS(port)->port_close(port);
    g_object_unref(port);
}

void ptz_port_canon_set_transfer(PTZPort *port, int burst_length, int trigger_mode)
{
    if (port != nullptr)
        g_object_set(port, "burst_len", burst_length, "trig_mode", trigger_mode, nullptr);
}

int ptz_port_canon_read_data(PTZPort *port, void *buffer, int length, int a, int b)
{
    return port != nullptr ? PTZ_PORT_GET_CLASS(port)->port_read(port, buffer, length, a, b) : -1;
}

int ptz_port_canon_write_data(PTZPort *port, const void *buffer, int length, int a, int b)
{
    return port != nullptr ? PTZ_PORT_GET_CLASS(port)->port_write(port, buffer, length, a, b) : -1;
}
