// A PTZ service with a recording driver on a bus of its own, and a client.
#pragma once

#include "ptzorvel/ptzd/service.h"
#include "tests/platform/bus_fixture.h"
#include "tests/platform/recording_driver.h"

#include <algorithm>
#include <string>
#include <vector>

class ServiceTest : public BusTest {
  protected:
    ServiceTest() { DriverScript::get().reset(); }

    ~ServiceTest() override
    {
        DriverScript::get().open_gate();
        service.reset();
    }

    // Starts the service and waits until the driver's start-up is over.
    void start()
    {
        service = PtzService::create(owner.connection(), options, problem);
        ASSERT_NE(service, nullptr) << problem;
        service->start([this](const std::string &text) {
            problem = text;
            failed = true;
        });
        const int state = DriverScript::get().state_after_open();
        run_until([&] { return failed || service->state() == state; });
    }

    // The lines recorded, but for the life cycle.
    std::vector<std::string> driver_calls() const
    {
        std::vector<std::string> lines = DriverScript::get().lines();
        std::erase_if(lines, [](const std::string &line) { return line == "open" || line == "close"; });
        return lines;
    }

    // Has the command thread wait inside a position query until the gate is opened.
    ReplyPtr occupy_command_thread()
    {
        DriverScript::get().shut_gate();
        const ReplyPtr reply = client.send("GetPosition");
        run_until([] { return DriverScript::get().someone_waits(); });
        return reply;
    }

    Client owner{address()};
    Client client{address()};
    PtzService::Options options{recording_driver_new, 2, 7, ""};
    std::string problem;
    std::atomic<bool> failed{false};
    std::unique_ptr<PtzService> service;
};
