// Between the seams of a host process and its trace.
#pragma once

class Trace;

// Has it record the transfers and GPIO levels of the process; null: nobody does.
void trace_watch(Trace *trace);
