// Runs a program and keeps what it says.
#pragma once

#include "tests/platform/bus_fixture.h"
#include "tests/support/process.h"
#include "tests/support/temp_folder.h"

#include <sstream>

struct RunResult {
    int status = -1;
    std::string output;
    std::string errors;
};

// The value of an environment variable that the test's build file sets.
inline std::string required_variable(const char *name)
{
    const char *value = std::getenv(name);
    g_assert_nonnull(value); // run the tests with 'meson test'
    return value;
}

// A program with `input` on its standard input; the main loop runs meanwhile.
inline RunResult run_program(std::vector<std::string> words, const std::string &input = "", const std::string &bus = "")
{
    const TempFolder folder;
    folder.write("input", input);
    const std::string streams = " <" + folder.file("input") + " 2>" + folder.file("errors");
    words.insert(words.begin(), {"/bin/sh", "-c", "exec \"$0\" \"$@\"" + streams});
    Process process(words, {{"DBUS_SYSTEM_BUS_ADDRESS", bus}, {"LC_ALL", "C.UTF-8"}}, folder.file("output"));
    const int status = process.wait();
    return {status, process.output(), folder.read("errors")};
}

// ptzctl with the words of a line, each behind a single blank.
inline RunResult run_ptzctl(const std::string &line, const std::string &input = "",
                            const std::string &bus = "unix:path=/nonexistent/bus")
{
    std::vector<std::string> words{required_variable("PTZCTL")};
    std::istringstream blanks(line);
    for (std::string word; std::getline(blanks, word, ' ');)
        words.push_back(word);
    if (line.ends_with(' '))
        words.emplace_back();
    return run_program(words, input, bus);
}
