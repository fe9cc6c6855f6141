#include "ptzorvel/ptzd/trace_watch.h"

#include "ptzorvel/ptzd/trace.h"
#include "spidev/seam.h"
#include "ugpio/watch.h"

namespace {

std::atomic<Trace *> current{nullptr}; // for the observers, which carry nothing of their own

void on_transfer(unsigned port, const spi_ioc_transfer &transfer, int result, int error)
{
    if (Trace *trace = current.load(std::memory_order_acquire))
        trace->transfer(port, transfer, result, error);
}

void on_level(const char *line, bool by_host, bool high)
{
    if (Trace *trace = current.load(std::memory_order_acquire))
        trace->level(line, by_host, high);
}

} // namespace

void trace_watch(Trace *trace)
{
    current = trace;
    spidev_seam_observe(trace != nullptr ? on_transfer : nullptr);
    ugpio_watch(trace != nullptr ? on_level : nullptr);
}
