// A program that runs beside the test.
#pragma once

#include <gio/gio.h>

#include <string>
#include <vector>

class Process {
  public:
    using Variables = std::vector<std::pair<std::string, std::string>>;

    // Starts it with these variables added to the environment; what it writes to either stream goes to `log_file`.
    Process(const std::vector<std::string> &command, const Variables &environment, const std::string &log_file);
    ~Process(); // kills what still runs
    Process(const Process &) = delete;
    Process &operator=(const Process &) = delete;

    void signal(int number)
    {
        if (!ended())
            g_subprocess_send_signal(process_, number);
    }
    // Its exit status, or minus the signal that ended it; waits at most that long for it, then fails with -1000.
    int wait(int seconds = 60);
    bool ended() const { return g_subprocess_get_identifier(process_) == nullptr; }
    std::string output() const;
    std::string pid() const { return g_subprocess_get_identifier(process_); }

  private:
    GSubprocess *process_;
    std::string log_file_;
};
