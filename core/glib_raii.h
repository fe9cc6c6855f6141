// Local ownership of GLib things: released by the function that belongs to them.
#pragma once

#include <glib-object.h>
#include <memory>

template <auto release>
struct GRelease {
    template <typename T>
    void operator()(T *thing) const
    {
        release(thing);
    }
};

template <typename T, auto release>
using GOwned = std::unique_ptr<T, GRelease<release>>;

using GText = GOwned<char, g_free>;
using GErrorOwned = GOwned<GError, g_error_free>;
using GKeyFileOwned = GOwned<GKeyFile, g_key_file_unref>;

inline void g_value_delete(GValue *value)
{
    g_value_unset(value);
    g_free(value);
}
using GValueOwned = GOwned<GValue, g_value_delete>;

// Takes what a GLib call leaves behind its `GError **error` argument.
class GErrorSlot {
  public:
    GErrorSlot() = default;
    GErrorSlot(const GErrorSlot &) = delete;
    GErrorSlot &operator=(const GErrorSlot &) = delete;
    ~GErrorSlot() { g_clear_error(&error_); }
    operator GError **()
    {
        g_clear_error(&error_);
        return &error_;
    }
    // Not const: the conversion above must not be the better one in `if (error)`.
    explicit operator bool() { return error_ != nullptr; }

  private:
    GError *error_ = nullptr;
};

class GMutexHold {
  public:
    explicit GMutexHold(GMutex &mutex) : mutex_(mutex) { g_mutex_lock(&mutex_); }
    ~GMutexHold() { g_mutex_unlock(&mutex_); }
    GMutexHold(const GMutexHold &) = delete;
    GMutexHold &operator=(const GMutexHold &) = delete;

  private:
    GMutex &mutex_;
};
