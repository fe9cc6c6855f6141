#include "platform/ptzorvel/ptzd/plugin.h"
#include "ptzorvel/ptzd/service.h"
#include "sim/board.h"
#include "sim/bus.h"
#include "tests/platform/bus_fixture.h"
#include "tests/sim/sim_fixture.h"

namespace {

constexpr double kTimeScale = 50;

class Reload : public BusTest {
  protected:
    TempFolder folder;
    Environment data_dir{"PTZ_DATA_DIR", folder.path()};
    Environment board_dir{"PTZ_BOARD", folder.path()};
    Environment system_bus{"DBUS_SYSTEM_BUS_ADDRESS", address()};
    Client owner{address()};
    Client client{address()};
};

TEST_F(Reload, ThePluginLivesSeveralLivesInOneProcess)
{
    sim::Board board({.folder = folder.path(), .time_scale = kTimeScale});
    ASSERT_EQ(board.start(), std::nullopt);
    const sim::Bus services(board);
    for (int life = 1; life <= 3; ++life) {
        std::string problem;
        const PTZDriverNewFunc driver_new = load_plugin(PLUGIN_FILE, problem);
        ASSERT_NE(driver_new, nullptr) << problem;
        std::unique_ptr<PtzService> service = PtzService::create(
            owner.connection(), {.driver_new = driver_new, .state_dir = "", .time_scale = kTimeScale}, problem);
        ASSERT_NE(service, nullptr) << problem;
        service->start([&problem](const std::string &text) { problem = text; });
        run_until([&] { return service->state() == PTZ_STATE_RUNNING || !problem.empty(); });
        EXPECT_EQ(problem, "");
        // The picture comes right behind the state.
        run_until([&] { return client.call("GetVideo").text == "({'blanked': false, 'frozen': false},)"; });
        const std::string move = "([('pan', 'absolute', " + std::to_string(life * 10) + ".0)], 0.0, @a{sv} {})";
        EXPECT_EQ(client.call("Move", move.c_str()).error, "");
        run_until([&] { return board.reading().pan > life * 10 - 0.01; });

        bool closed = false;
        service->close([&closed] {
            g_idle_add(
                [](gpointer flag) -> gboolean {
                    *static_cast<bool *>(flag) = true;
                    return G_SOURCE_REMOVE;
                },
                &closed);
        });
        run_until([&closed] { return closed; });
        service.reset();
        EXPECT_EQ(board.reading().state, sim::BlockState::off);
    }
    EXPECT_EQ(board.offences(), sim::Counts{});
}

} // namespace
