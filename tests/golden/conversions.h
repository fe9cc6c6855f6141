// Every conversion that computes, under a name: two numbers go in, of which the second chooses a model, a factor or the
// like, and one comes out.
#pragma once

#include "tests/cmd/command_bench.h"

#include <vector>

// Where they compute: a driver with a camera model, whose port plays status and takes commands.
struct GoldenBench : CommandBench {
    using CommandBench::model, CommandBench::now, CommandBench::set_capture_mode;
    using DriverBench::driver, DriverBench::port, DriverBench::log;
    void TestBody() override {}
};

struct Conversion {
    const char *name;
    int units_off; // of the last place, at most: 0, or what the mathematics of another machine may make of it
    struct {
        double first, last, step;
    } sweep; // of the first number
    std::vector<double> others;
    double (*convert)(GoldenBench &bench, double x, double other);
};

extern const std::vector<Conversion> CONVERSIONS;
