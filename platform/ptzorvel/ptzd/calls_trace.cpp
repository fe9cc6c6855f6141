// Switching the trace.
#include "ptzorvel/ptzd/calls.h"
#include "ptzorvel/ptzd/trace.h"

void call_set_trace(PtzService &service, const CallPtr &call)
{
    Trace *trace = service.options().trace;
    if (trace == nullptr) {
        call->refuse({ErrorKind::not_supported, "This service has no trace."});
        return;
    }
    gboolean on = FALSE;
    g_variant_get(call->parameters(), "(b)", &on);
    if (on == FALSE) {
        trace->end([call] { call->answer(g_variant_new("(s)", "")); });
        return;
    }
    trace->begin([trace, call](const std::string &problem) {
        if (problem.empty())
            call->answer(g_variant_new("(s)", trace->file().c_str()));
        else
            call->refuse({ErrorKind::failed, "The trace cannot be written: " + problem + "."});
    });
}
