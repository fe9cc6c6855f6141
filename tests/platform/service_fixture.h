// A PTZ service with a recording driver on a bus of its own.
#pragma once

#include "ptzorvel/ptzd/service.h"
#include "tests/platform/bus_fixture.h"
#include "tests/platform/recording_driver.h"

#include <gmock/gmock.h>

class ServiceTest : public BusTest {
  protected:
    // Starts the service and waits until the driver's start-up is over.
    void start()
    {
        service = PtzService::create(owner.connection(), options, problem);
        ASSERT_NE(service, nullptr) << problem;
        service->start(recording::note);
        run_until([&] { return service->state() == script.state_after_open; });
    }

    static std::string move(Client &by, const std::string &axes, const char *rest = "0.0, @a{sv} {}")
    {
        return by.call("Move", ("([" + axes + "], " + rest + ")").c_str()).said();
    }

    // Methods, their arguments and the beginnings of what is said to them.
    void expect_answers(std::initializer_list<std::array<const char *, 3>> calls)
    {
        for (const auto &[method, arguments, answer] : calls)
            EXPECT_THAT(client.call(method, arguments).said(), testing::StartsWith(answer)) << method << arguments;
    }

    // Has the command thread wait inside a position query until the gate is unlocked.
    ReplyPtr occupy_command_thread()
    {
        gate.lock();
        ReplyPtr reply = client.send("GetPosition");
        run_until([this] { return !script.lines().empty(); });
        return reply;
    }

    DriverScript script;
    Client owner{address()};
    Client client{address()};
    PtzService::Options options{.driver_new = recording_driver_new, .video_channel = 2, .id = 7};
    std::string problem;
    std::unique_ptr<PtzService> service;
    std::unique_lock<std::mutex> gate{script.gate, std::defer_lock}; // open before the service is closed
};
