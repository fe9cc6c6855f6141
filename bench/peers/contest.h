// Contests: the same work done by this project and by its peers, in turns, so that a busy machine is as busy for all.
#pragma once

#include <functional>
#include <string>
#include <sys/types.h>
#include <vector>

// Who takes part, and how.
struct Contender {
    std::string name;
    std::function<bool()> set_up;  // before the first repetition; may be empty
    std::function<bool()> once;    // does the work once; false when it failed
    std::function<void()> after{}; // after each sample, and not timed
    pid_t server = 0;              // whose processor time counts; 0: nobody's. set_up may put it there
};

struct Contest {
    const char *name;
    int repetitions; // of all contenders, one after another
    int samples;     // of each repetition
    int batch;       // how often the work is done for one sample
    std::vector<Contender> contenders;
};

// Runs it and prints one line of JSON: {"contest", "contender", "median_ns": [one for each repetition], "p99_ns":
// [...], "server_us": [processor time of the server for each time the work was done]} for each contender. False, with a
// message, when one failed.
bool contest_run(Contest &contest);

// A process of its own that runs `serve` and ends with this one, which `serve` gets nothing else of. 0 when that
// failed.
pid_t start_child(const std::function<void()> &serve);

// What there is. `exchange` starts a simulated camera of its own; `bus` and `start` want the bus of the environment.
Contest codec_status();
Contest codec_command();
Contest exchange();
Contest bus_get();
Contest bus_set();
Contest start();
