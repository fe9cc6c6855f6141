// The bench of the driver's tests, opened up for targets.
#pragma once

#include "tests/support/driver_fixture.h"

struct FuzzBench : DriverBench {
    using DriverBench::driver;
    using DriverBench::folder;
    using DriverBench::make_driver;
    using DriverBench::port;
    using DriverBench::write_file;
    void TestBody() override {}
};
