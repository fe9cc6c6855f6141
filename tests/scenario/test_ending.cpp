// The end of ptzd at any moment, and of a start that cannot succeed.
#include "tests/scenario/system_fixture.h"

#include "sim/image.h"

#include <csignal>

namespace {

class Ending : public SystemTest {
  protected:
    void put_image(std::size_t size)
    {
        const std::vector<std::uint8_t> image = sim::make_image(0x01020304, size);
        folder.write("IMC.APP", {image.begin(), image.end()});
    }

    // Has ptzd end, as the simulator's time goes; the seconds that took.
    double end()
    {
        const double before = sim_value("Time");
        ptzd->signal(SIGTERM);
        EXPECT_EQ(ptzd->wait(), 0) << ptzd->output();
        return sim_value("Time") - before;
    }

    std::function<bool()> block_is(const char *state)
    {
        return [this, state] { return sim_state() == state; };
    }
    std::function<bool()> struck(const char *fault)
    {
        return [this, fault] { return sim_counts("Faults")[fault] > 0; };
    }
    std::function<bool()> received(const char *record)
    {
        return [this, record] { return sim_counts("Records")[record] > 0; };
    }
};

// Seconds of the camera; twenty are promised, the rest is for a machine that is busy.
constexpr double BOUND = 60;

TEST_F(Ending, ComesInOrderAtEveryStepOfAStart)
{
    const struct {
        const char *fault;
        std::size_t image; // its size; 0: none
        std::function<bool()> reached;
    } moments[] = {
        {"power-good never", 0, block_is("powering")},
        {"init-done never", 0, block_is("booting")},
        {"silence 10000s", 0, block_is("running")},
        {"hold-request low", 0, block_is("running")},
        {"missing-block 40 forever", 0, struck("missing-block")},
        {"image-control silent", 0, struck("image-control")},
        {"upgrade-ready never", 5000, struck("upgrade-ready")},
        {"refuse-chunks forever", 5000, struck("refuse-chunks")},
        {"fw-complete never", 5000, struck("fw-complete")},
        {"drop-edge 0", 0, received("Gamma")}, // none: while parameters are applied
    };
    start_sim();
    for (const auto &[fault, image, reached] : moments) {
        SCOPED_TRACE(fault);
        sim_command("clear faults");
        sim_command("clear status");
        sim_command(std::string("fault ") + fault);
        std::filesystem::remove(folder.file("IMC.APP"));
        if (image > 0)
            put_image(image);
        start_ptzd();
        run_until(reached);
        std::printf("%-26s %.2f\n", fault, end());
        EXPECT_EQ(sim_state(), "off");
        EXPECT_EQ(sim_counts("Offences"), Counts{});
    }
}

} // namespace
