// How a command ends when it cannot do what it was asked: one sentence for the person, a code for the machine.
#pragma once

#include "clean_text.h" // messages repeat what somebody typed

#include <stdexcept>
#include <string>
#include <utility>

// Exit statuses, as the table of the command line explains them.
enum ExitStatus {
    EXIT_DONE = 0,
    EXIT_REFUSED = 1,     // the service refused or failed; a trace with lines that cannot be read
    EXIT_USAGE = 2,       // the command line means nothing
    EXIT_NO_SERVICE = 3,  // no bus, or no ptzd on it
    EXIT_NO_ANSWER = 4,   // not within the time given
    EXIT_NOT_REACHED = 5, // a move that was waited for ended elsewhere
    EXIT_INTERRUPTED = 130,
};

// Thrown by commands, caught in run_ptzctl(); never passes a C frame.
class Failure : public std::runtime_error {
  public:
    // `code` is one word, `message` one line that says what was wrong and what to do.
    Failure(ExitStatus status, std::string code, const std::string &message)
        : std::runtime_error(message), status_(status), code_(std::move(code))
    {
    }
    ExitStatus status() const { return status_; }
    const std::string &code() const { return code_; }

  private:
    ExitStatus status_;
    std::string code_;
};

// Ctrl-C while an answer was waited for.
class Interrupted : public Failure {
  public:
    Interrupted() : Failure(EXIT_INTERRUPTED, "Interrupted", "interrupted") {}
};

inline Failure usage_failure(const std::string &message)
{
    return {EXIT_USAGE, "Usage", message};
}
