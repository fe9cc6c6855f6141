// Runs ptzctl and keeps what it says, on a bus with a PTZ service that answers as a test wants.
#pragma once

#include "tests/platform/bus_fixture.h"

#include <string>
#include <vector>

struct RunResult {
    int status = -1; // exit status, -1 when a signal ended it
    std::string output;
    std::string errors;
    bool done = false;
};

// A program with `input` on its standard input; the main loop runs meanwhile.
RunResult run_program(const std::vector<std::string> &words, const std::string &input = "",
                      const std::string &bus = "");

// ptzctl with the words of a line, each behind a single blank.
RunResult run_ptzctl(const std::string &line, const std::string &input = "",
                     const std::string &bus = "unix:path=/nonexistent/bus");

// The value of an environment variable that the test's build file sets.
std::string required_variable(const char *name);

class ProgramTest : public BusTest {
  protected:
    // Answers a call: returns the results (floating, null for none) or fills in the name and message of an error.
    using Answer =
        std::function<GVariant *(const std::string &method, std::string &error_name, std::string &error_text)>;

    ~ProgramTest() override;

    void serve(Answer answer);
    RunResult ptzctl(const std::string &line) { return run_ptzctl(line, "", address()); }

    std::string calls; // "Method(arguments)" of each call so far, with blanks between

  private:
    static void on_call(GDBusConnection *connection, const char *sender, const char *path, const char *interface,
                        const char *method, GVariant *arguments, GDBusMethodInvocation *invocation, gpointer self);

    Client owner_{address()};
    Answer answer_;
    GDBusNodeInfo *node_ = nullptr;
};
