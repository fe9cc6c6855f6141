#include "status_cache/status_cache.h"
#include "status_cache/status_cache_read.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <mutex>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace {

using Value = std::variant<gint32, float>;

struct Entry {
    std::string key;
    Value value;
};

struct Group {
    std::string name;
    std::vector<Entry> entries;
};

std::mutex cache_mutex;
std::vector<Group> cache; // few groups of few keys: a list searched in order, updated in place

// The element with that name, made when missing. `Name` is the member that holds the name.
template <typename Element, typename Name>
Element &find_or_add(std::vector<Element> &list, Name name, const char *text)
{
    const std::string_view wanted = text;
    const auto found = std::find_if(list.begin(), list.end(), [&](const Element &e) { return e.*name == wanted; });
    if (found != list.end())
        return *found;
    Element element{};
    element.*name = text;
    return list.emplace_back(std::move(element));
}

template <typename Number>
Number read_number(const void *address)
{
    Number number;
    std::memcpy(&number, address, sizeof number);
    return number;
}

// `place`: where it is when all come in the order of the last time, as they do.
Entry &entry_of(Group &group, std::size_t place, const char *key)
{
    if (place < group.entries.size() && group.entries[place].key == key)
        return group.entries[place];
    return find_or_add(group.entries, &Entry::key, key);
}

// `changed` becomes true when it has another value now.
bool set_param(Group &group, std::size_t place, const ScParam &param, bool &changed)
{
    if (param.key == nullptr || param.value == nullptr || param.size != 4)
        return false;
    if (param.type != SC_TYPE_INTEGER && param.type != SC_TYPE_REAL)
        return false;
    const Value value = param.type == SC_TYPE_INTEGER ? Value(read_number<gint32>(param.value))
                                                      : Value(read_number<float>(param.value));
    Value &kept = entry_of(group, place, param.key).value;
    changed = changed || kept != value;
    kept = value;
    return true;
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
        Group &target = find_or_add(cache, &Group::name, group);
        for (std::size_t place = 0; params[place] != nullptr; place++)
            count += set_param(target, place, *params[place], changed) ? 1 : 0;
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
    for (const Group &found : cache) {
        if (found.name != group)
            continue;
        for (const Entry &entry : found.entries)
            for (gsize i = 0; i < count; i++)
                if (entry.key == keys[i])
                    numbers[i] = std::visit([](auto value) { return static_cast<double>(value); }, entry.value);
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
            const auto *integer = std::get_if<gint32>(&entry.value);
            GVariant *value = integer != nullptr ? g_variant_new_int32(*integer)
                                                 : g_variant_new_double(double{std::get<float>(entry.value)});
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
