// The same as bare_gdbus.cpp on sd-bus.
#include <systemd/sd-bus.h>

namespace {

struct Number {
    const char *name;
    double value;
};

int on_get(sd_bus_message *call, void *, sd_bus_error *)
{
    static constexpr Number POSITION[] = {{"pan", 0},      {"tilt", 0},          {"zoom", 1},   {"iris", -1},
                                          {"focus", 7167}, {"brightness", 5000}, {"age", 0.003}};
    sd_bus_message *answer = nullptr;
    int result = sd_bus_message_new_method_return(call, &answer);
    if (result >= 0)
        result = sd_bus_message_open_container(answer, 'a', "{sd}");
    for (const Number &number : POSITION)
        if (result >= 0)
            result = sd_bus_message_append(answer, "{sd}", number.name, number.value);
    if (result >= 0)
        result = sd_bus_message_close_container(answer);
    if (result >= 0)
        result = sd_bus_send(nullptr, answer, nullptr);
    sd_bus_message_unref(answer);
    return result;
}

int on_set(sd_bus_message *call, void *, sd_bus_error *)
{
    const char *mode = nullptr;
    const int result = sd_bus_message_read(call, "s", &mode);
    return result < 0 ? result : sd_bus_reply_method_return(call, "");
}

const sd_bus_vtable METHODS[] = {SD_BUS_VTABLE_START(0),
                                 SD_BUS_METHOD("Get", "", "a{sd}", on_get, SD_BUS_VTABLE_UNPRIVILEGED),
                                 SD_BUS_METHOD("Set", "s", "", on_set, SD_BUS_VTABLE_UNPRIVILEGED), SD_BUS_VTABLE_END};

} // namespace

int main()
{
    sd_bus *bus = nullptr;
    if (sd_bus_open_system(&bus) < 0 ||
        sd_bus_add_object_vtable(bus, nullptr, "/com/orna/Bench", "com.orna.Bench", METHODS, nullptr) < 0 ||
        sd_bus_request_name(bus, "com.orna.BenchSdbus", 0) < 0)
        return 1;
    for (;;) {
        const int result = sd_bus_process(bus, nullptr);
        if (result < 0 || (result == 0 && sd_bus_wait(bus, UINT64_MAX) < 0))
            return 1;
    }
}
