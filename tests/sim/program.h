// A krx-sim, or one of its tools, that runs beside the test.
#pragma once

#include <array>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

// A running program; its output is one stream.
class Program {
  public:
    explicit Program(std::vector<std::string> arguments, const char *program = KRX_SIM)
    {
        std::array<int, 2> ends{};
        EXPECT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
        arguments.insert(arguments.begin(), program);
        std::vector<char *> argv;
        argv.reserve(arguments.size() + 1);
        for (std::string &argument : arguments)
            argv.push_back(argument.data());
        argv.push_back(nullptr);
        pid_ = fork();
        if (pid_ == 0) {
            dup2(ends[1], 1);
            dup2(ends[1], 2);
            execv(program, argv.data());
            _exit(127);
        }
        close(ends[1]);
        output_ = fdopen(ends[0], "r");
    }
    ~Program()
    {
        if (pid_ > 0)
            stop(SIGKILL);
        std::fclose(output_);
    }
    // Reads until a line begins with `start`; false when the output ended before.
    bool wait_for(const std::string &start)
    {
        std::array<char, 512> line{};
        while (std::fgets(line.data(), line.size(), output_)) {
            text += line.data();
            if (std::string_view(line.data()).starts_with(start))
                return true;
        }
        return false;
    }
    // Sends a signal (0: none) and gives the exit status, or 128 plus the signal that ended it.
    int stop(int signal)
    {
        if (signal != 0)
            kill(pid_, signal);
        int status = 0;
        waitpid(pid_, &status, 0);
        pid_ = -1;
        wait_for("\n never");
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }

    std::string text; // everything read so far

  private:
    pid_t pid_ = -1;
    FILE *output_ = nullptr;
};
