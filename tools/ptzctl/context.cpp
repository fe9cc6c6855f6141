#include "command.h"

#include "json.h"

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
    VariantOwned owned(g_variant_ref_sink(object));
    line(json_from_variant(object));
}

void Context::done(const std::string &text)
{
    if (!json_) {
        line(text);
        return;
    }
    GVariantBuilder object;
    g_variant_builder_init(&object, G_VARIANT_TYPE_VARDICT);
    g_variant_builder_add(&object, "{sv}", "ok", g_variant_new_boolean(TRUE));
    this->object(g_variant_builder_end(&object));
}

std::string format_text(const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    TextOwned text(g_strdup_vprintf(format, arguments));
    va_end(arguments);
    return text.get();
}
