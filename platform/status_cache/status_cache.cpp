#include "status_cache/status_cache.h"
#include "status_cache/status_cache_read.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace {

struct Entry {
    std::string key;
    const char *known_as; // the text that it was last set by, which is constant
    gint32 type;          // SC_TYPE_INTEGER or SC_TYPE_REAL
    guint32 value;        // as it lies in memory
};

struct Group {
    std::string name;
    std::vector<Entry> entries;
};

std::mutex cache_mutex;
std::vector<Group> cache; // few groups of few keys: a list searched in order, updated in place

// The element with that name, made when missing. `Name` is the member that holds the name. Seldom called, and kept out
// of the registers of who does.
template <typename Element, typename Name>
[[gnu::noinline]] auto find_or_add(std::vector<Element> &list, Name name, const char *text)
{
    const std::string_view wanted = text;
    const auto found = std::find_if(list.begin(), list.end(), [&](const Element &e) { return e.*name == wanted; });
    if (found != list.end())
        return found;
    Element element{};
    element.*name = text;
    return list.insert(list.end(), std::move(element));
}

bool is_sound(const ScParam &param)
{
    return param.key != nullptr && param.value != nullptr && param.size == sizeof(Entry::value) &&
           (param.type == SC_TYPE_INTEGER || param.type == SC_TYPE_REAL);
}

std::mutex listener_mutex; // held while the listener runs
StatusCacheChanged listener = nullptr;
gpointer listener_data = nullptr;

} // namespace

int sc_set_group(const char *group, const ScParam *const *params, int)
{
    if (group == nullptr || *group == '\0' || params == nullptr)
        return -1;
    int count = 0;
    bool changed = false;
    {
        const std::lock_guard lock(cache_mutex);
        std::vector<Entry> &entries = find_or_add(cache, &Group::name, group)->entries;
        auto place = entries.begin();
        for (; *params != nullptr; params++) {
            const ScParam &param = **params;
            if (!is_sound(param))
                continue;
            // All come in the order of the last time, as a rule.
            if (place == entries.end() || place->known_as != param.key)
                place = find_or_add(entries, &Entry::key, param.key);
            guint32 value = 0;
            std::memcpy(&value, param.value, sizeof value);
            changed = changed || place->value != value || place->type != param.type;
            place->known_as = param.key;
            place->type = param.type;
            place->value = value;
            ++place;
            ++count;
        }
    }
    if (!changed)
        return count;
    const std::lock_guard lock(listener_mutex);
    if (listener != nullptr)
        listener(listener_data);
    return count;
}

void status_cache_numbers(const char *group, const char *const *keys, gsize count, double *numbers)
{
    const std::lock_guard lock(cache_mutex);
    std::fill_n(numbers, count, std::numeric_limits<double>::quiet_NaN());
    const auto found = std::find_if(cache.begin(), cache.end(), [&](const Group &one) { return one.name == group; });
    if (found == cache.end())
        return;
    for (gsize i = 0; i < count; i++) {
        const std::string_view key = keys[i];
        const auto entry = std::find_if(found->entries.begin(), found->entries.end(),
                                        [&](const Entry &one) { return one.key == key; });
        if (entry != found->entries.end())
            numbers[i] = entry->type == SC_TYPE_INTEGER ? static_cast<double>(std::bit_cast<gint32>(entry->value))
                                                        : static_cast<double>(std::bit_cast<float>(entry->value));
    }
}

void status_cache_set_listener(StatusCacheChanged changed, gpointer data)
{
    const std::lock_guard lock(listener_mutex);
    listener = changed;
    listener_data = data;
}

GVariant *status_cache_snapshot(void)
{
    const std::lock_guard lock(cache_mutex);
    GVariantBuilder groups;
    g_variant_builder_init(&groups, G_VARIANT_TYPE("a{sa{sv}}"));
    for (const Group &group : cache) {
        g_variant_builder_open(&groups, G_VARIANT_TYPE("{sa{sv}}"));
        g_variant_builder_add(&groups, "s", group.name.c_str());
        g_variant_builder_open(&groups, G_VARIANT_TYPE("a{sv}"));
        for (const Entry &entry : group.entries) {
            GVariant *value = entry.type == SC_TYPE_INTEGER
                                  ? g_variant_new_int32(std::bit_cast<gint32>(entry.value))
                                  : g_variant_new_double(double{std::bit_cast<float>(entry.value)});
            g_variant_builder_add(&groups, "{sv}", entry.key.c_str(), value);
        }
        g_variant_builder_close(&groups);
        g_variant_builder_close(&groups);
    }
    return g_variant_builder_end(&groups);
}

void status_cache_clear(void)
{
    const std::lock_guard lock(cache_mutex);
    cache.clear();
}
