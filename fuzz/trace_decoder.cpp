// A trace file of any content, put into words both ways.
#include "fuzz/target.h"
#include "sim/trace.h"
#include "tests/support/temp_folder.h"
#include "tools/ptzctl/command.h"

#include <iostream>

FUZZ_TARGET(trace_decoder)
{
    static const TempFolder folder;
    folder.write("trace", fuzz::text(input));
    std::cerr.rdbuf(nullptr); // remarks about single lines
    for (const char *option : {"--json", "--sent", "--big-endian"}) {
        const int status = run_ptzctl({"decode", folder.file("trace"), option});
        HOLDS(status == EXIT_DONE || status == EXIT_REFUSED);
    }
    for (const std::string &text : fuzz::lines(input)) {
        sim::TraceLine line;
        if (!sim::parse_trace_line(text, line) || line.kind != sim::TraceLine::Kind::burst)
            continue;
        // Written again, it reads the same.
        sim::TraceLine again;
        HOLDS(sim::parse_trace_line(sim::trace_line(line.us, line.port, line.from_host, line.bytes), again));
        HOLDS(again.us == line.us && again.port == line.port && again.bytes == line.bytes);
    }
}
