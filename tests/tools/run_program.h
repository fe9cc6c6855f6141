// Runs a program and keeps what it says.
#pragma once

#include <string>
#include <utility>
#include <vector>

struct RunResult {
    int status; // exit status, -1 when a signal ended it
    std::string output;
    std::string errors;
};

// `input` is its standard input; `variables` are set in its environment on top of this process's own.
RunResult run_program(const std::vector<std::string> &words, const std::string &input = "",
                      const std::vector<std::pair<std::string, std::string>> &variables = {});

// ptzctl with the bus at `address`.
RunResult run_ptzctl_on(const std::string &address, std::vector<std::string> words, const std::string &input = "");

// The value of an environment variable that the test's build file sets.
std::string required_variable(const char *name);
