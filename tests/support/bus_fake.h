// The system bus with the image pipeline and the streaming service, as the driver meets it.
#pragma once

#include <gio/gio.h>

#include <map>
#include <string>
#include <vector>

struct BusBench {
    bool reachable = true;
    bool takes_subscriptions = true;
    // Replies by property name, in GVariant's text form; a property without one has no service behind it.
    std::map<std::string, std::string> replies = {{"VideoCaptureMode", "(<'1080p60'>,)"}, {"Rotation", "(<0>,)"}};
    std::vector<std::string> calls; // "name path interface.property timeout"
    unsigned connections = 0;       // handed out

    // Live subscriptions, all to PropertiesChanged of the image pipeline.
    std::size_t subscriptions() const { return listeners.size(); }
    // Tells the subscribers; `parameters` in GVariant's text form.
    void emit(const std::string &parameters) const;

    struct Listener {
        GDBusSignalCallback callback;
        gpointer data;
        GDestroyNotify free_data;
    };
    std::map<guint, Listener> listeners;
};

// The bench in force: one at a time.
BusBench &bus();
