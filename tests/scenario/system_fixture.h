// krx-sim and ptzd as programs, on a bus and a board folder of their own, with their time running twenty times faster.
#pragma once

#include "tests/platform/bus_fixture.h"
#include "tests/sim/sim_fixture.h"
#include "tests/support/process.h"

#include <map>
#include <memory>
#include <optional>

using Counts = std::map<std::string, unsigned>;

class SystemTest : public BusTest {
  protected:
    explicit SystemTest(const std::string &bus_address = "") : BusTest(bus_address) {}

    void start_sim(const std::vector<std::string> &options = {});
    // Starts ptzd; does not wait for the camera.
    void start_ptzd(const std::vector<std::string> &options = {});
    // Waits until ptzd reports this state.
    void await_state(int state);
    void start_all();

    // One ptzctl command with --json; its output. `status` is its exit status.
    std::string ptzctl(const std::vector<std::string> &words, int *status = nullptr);

    // What the simulated board says of itself.
    double sim_value(const char *name);
    GVariant *sim_property(const char *name); // owned by the caller
    Counts sim_counts(const char *property);
    std::string sim_state();
    void sim_command(const std::string &line);
    void await_sim(const char *name, double value, double tolerance);

    std::unique_ptr<Process> run(const std::vector<std::string> &command, const std::string &log_name,
                                 const Process::Variables &more = {});
    std::size_t ptzd_descriptors() const;
    // GetState, which has to be answered within a second; where the machine was busy elsewhere, the second time.
    std::string state_at_once();
    // ptzd runs, and never had more than 32 MB.
    void expect_life() const;
    // How often a text stands in ptzd's log, and in the simulator's.
    std::size_t logged(const std::string &text) const { return count_of(text, ptzd->output()); }
    std::size_t logged_in_sim(const std::string &text) const { return count_of(text, sim->output()); }

    // How many times faster the camera's time runs: a whole number; on an emulated machine fewer than `time_scale`.
    std::string scale() const;

    const char *time_scale = "20";
    Process::Variables ptzd_variables; // beside those that every program of the system gets
    TempFolder folder;
    Client client{address()};
    std::unique_ptr<Process> sim;
    std::unique_ptr<Process> ptzd; // ends before the simulator

  private:
    GVariant *ask_sim(const char *interface, const char *method, GVariant *arguments);
    static std::size_t count_of(const std::string &text, const std::string &log);

    int runs_ = 0;
};
