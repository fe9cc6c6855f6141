/* Local ownership of GLib things, for every room: released by the function that belongs to them. C++ only; the C
 * headers of the libraries beside it need nothing of it. */
#pragma once

#include <glib.h>
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
using GTexts = GOwned<char *, g_strfreev>; // null-terminated
using GVariantOwned = GOwned<GVariant, g_variant_unref>;
using GKeyFileOwned = GOwned<GKeyFile, g_key_file_unref>;
using GMainLoopOwned = GOwned<GMainLoop, g_main_loop_unref>;
using GOptionContextOwned = GOwned<GOptionContext, g_option_context_free>;

// Takes what a GLib call leaves behind its `GError **error` argument; passed again, it is empty first.
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
    // The slot's own, null when the call failed without one or did not fail.
    GError *get() const { return error_; }
    GError *operator->() const { return error_; }

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
