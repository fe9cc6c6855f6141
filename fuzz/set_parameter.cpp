// The arguments of a parameter's setting from the bus, in GVariant's text form.
#include "fuzz/params.h"
#include "fuzz/target.h"
#include "ptzorvel/ptzd/calls.h"

FUZZ_TARGET(set_parameter)
{
    const GVariantOwned arguments = fuzz::variant("(ssv)", fuzz::text(input));
    if (!arguments)
        return;
    const char *group = nullptr, *name = nullptr;
    GVariant *value = nullptr;
    g_variant_get(arguments.get(), "(&s&sv)", &group, &name, &value);
    const GVariantOwned owned(value);
    FuzzParams params;
    const auto info = params.store.group("Limit")->find(name);
    ParamValue wanted;
    if (const auto error = check_parameter(info, group, name, value, wanted)) {
        HOLDS(g_utf8_validate(error->text.c_str(), -1, nullptr)); // it goes back over the bus
        return;
    }
    HOLDS(info && info->writable && params.store.group("Limit")->set(name, wanted).empty());
    const auto now = params.store.group("Limit")->find(name);
    HOLDS(now->value == wanted && !std::holds_alternative<std::monostate>(wanted));
    // What is read back sets the same again.
    const GVariantOwned read(g_variant_ref_sink(param_variant(now->value)));
    ParamValue again;
    HOLDS(!check_parameter(info, group, name, read.get(), again) && again == wanted);
}
