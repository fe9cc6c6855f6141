#include "command.h"

#include "columns.h"
#include "json.h"

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

// The columns of the terminal that standard output is, else those of COLUMNS, else 0: no bound.
std::size_t terminal_width()
{
    winsize size{};
    if (isatty(STDOUT_FILENO) != 0 && ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0)
        return size.ws_col;
    const char *columns = g_getenv("COLUMNS");
    return columns != nullptr ? std::strtoul(columns, nullptr, 10) : 0;
}

} // namespace

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
    if (!holds_back_ || std::ferror(stdout) != 0)
        flush();
}

void Context::flush()
{
    const bool failed = std::ferror(stdout) != 0;
    if (std::fflush(stdout) == 0 && !failed)
        return;
    if (errno == EPIPE) { // GLib has the signal ignored
        std::signal(SIGPIPE, SIG_DFL);
        (void)std::raise(SIGPIPE);
    }
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

void Context::table(const std::vector<std::vector<std::string>> &rows)
{
    std::string text = in_columns(rows, terminal_width());
    text.erase(text.find_last_not_of('\n') + 1);
    line(text);
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
