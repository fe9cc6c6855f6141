// doctor: what keeps the camera from working, and what to do about it.
#include "command.h"
#include "doctor.h"
#include "table.h"

#include <algorithm>

namespace {

const char *text_of(Health health)
{
    switch (health) {
    case Health::ok:
        return "ok";
    case Health::warning:
        return "warning";
    case Health::fault:
        break;
    }
    return "fault";
}

GVariant *object_of(const Finding &finding)
{
    GVariantBuilder object;
    g_variant_builder_init(&object, G_VARIANT_TYPE_VARDICT);
    const auto add = [&](const char *key, const std::string &text) {
        g_variant_builder_add(&object, "{sv}", key, g_variant_new_string(printable(text).c_str()));
    };
    add("check", finding.subject);
    add("health", text_of(finding.health));
    add("text", finding.text);
    if (!finding.next.empty())
        add("next", finding.next);
    return g_variant_builder_end(&object);
}

} // namespace

ExitStatus run_doctor(Context &context, const Arguments &)
{
    const char *ptzd = g_getenv("PTZD");
    const std::vector<Finding> findings = Doctor(ptzd != nullptr ? ptzd : PTZD_FILE).examine();
    for (const Finding &finding : findings) {
        if (context.json()) {
            context.object(object_of(finding));
            continue;
        }
        context.line(format_text("%-8s %s: %s", text_of(finding.health), finding.subject.c_str(),
                                 printable(finding.text).c_str()));
        if (!finding.next.empty())
            context.line(format_text("%-8s   %s", "", finding.next.c_str()));
    }
    const bool well = std::all_of(findings.begin(), findings.end(),
                                  [](const Finding &finding) { return finding.health == Health::ok; });
    return well ? EXIT_DONE : EXIT_REFUSED;
}
