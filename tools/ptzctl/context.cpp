#include "command.h"

#include "json.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

Service &Context::service()
{
    if (!service_)
        service_ = std::make_unique<Service>(timeout_s_);
    return *service_;
}

void Context::line(const std::string &text)
{
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fputc('\n', stdout);
    if (std::fflush(stdout) != 0)
        throw Failure(EXIT_REFUSED, "Output", "standard output takes no more");
}

void Context::object(GVariant *object)
{
    GVariantOwned owned(g_variant_ref_sink(object));
    line(json_from_variant(object));
}

void Context::object_of(const char *key, GVariant *value)
{
    GVariantBuilder object;
    g_variant_builder_init(&object, G_VARIANT_TYPE_VARDICT);
    g_variant_builder_add(&object, "{sv}", key, value);
    this->object(g_variant_builder_end(&object));
}

void Context::texts(const char *key, const GVariantOwned &list)
{
    if (json_) {
        object_of(key, list.get());
        return;
    }
    for (gsize i = 0; i < g_variant_n_children(list.get()); i++) {
        GVariantOwned entry(g_variant_get_child_value(list.get(), i));
        line(value_text(entry.get()));
    }
}

void Context::done(const std::string &text)
{
    if (!json_) {
        line(text);
        return;
    }
    object_of("ok", g_variant_new_boolean(TRUE));
}

std::string format_text(const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    GText text(g_strdup_vprintf(format, arguments));
    va_end(arguments);
    return text.get();
}

void require_choice(const std::string &word, const char *what, std::initializer_list<const char *> choices)
{
    if (std::find(choices.begin(), choices.end(), word) != choices.end())
        return;
    std::string list;
    for (const char *choice : choices)
        list += (list.empty() ? "" : ", ") + std::string(choice);
    throw usage_failure(std::string("no ") + what + " '" + printable(word) + "'; there are " + list);
}
