// trace: whether ptzd records.
#include "command.h"

#include "json.h"

ExitStatus run_trace(Context &context, const Arguments &arguments)
{
    const bool on = arguments.words()[0] == "on";
    const GVariantOwned file = context.service().result("SetTrace", g_variant_new("(b)", on ? TRUE : FALSE), "(s)");
    if (context.json())
        context.object_of("file", file.get());
    else if (on)
        context.line(value_text(file.get()));
    else
        context.done("done");
    return EXIT_DONE;
}
