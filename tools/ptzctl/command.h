// What every command of ptzctl has, and what it works with.
#pragma once

#include "arguments.h"
#include "failure.h"
#include "service.h"

#include <initializer_list>
#include <memory>
#include <span>
#include <string>

// What a command works with: the service, connected on first need, and the one way to write.
class Context {
  public:
    Context(bool json, double timeout_s) : json_(json), timeout_s_(timeout_s) {}

    bool json() const { return json_; }
    Service &service();

    // Writes a line for the person, or one JSON object for the machine (takes a floating `object` over). Both throw
    // Failure when standard output does not take it.
    void line(const std::string &text);
    void object(GVariant *object);
    // The object {"KEY": value}.
    void object_of(const char *key, GVariant *value);
    // A list of texts: each on its line, or {"KEY": [...]}.
    void texts(const char *key, const GVariantOwned &list);
    // What a command without results says: `text`, or {"ok":true}.
    void done(const std::string &text);

  private:
    bool json_;
    double timeout_s_;
    std::unique_ptr<Service> service_;
};

struct Command {
    const char *name;
    const char *summary; // for the list of commands
    const char *help;    // usage, what it does, examples
    ExitStatus (*run)(Context &context, Arguments &arguments);
};

// All commands, in the order in which they are listed.
std::span<const Command> all_commands();

// printf into a std::string.
std::string format_text(const char *format, ...) __attribute__((format(printf, 1, 2)));

// Throws Failure (EXIT_USAGE), naming them all, when the word is none of the choices. `what`: of what there is none.
void require_choice(const std::string &word, const char *what, std::initializer_list<const char *> choices);

// What a status says of the last firmware upgrade, in a line for the person; empty when there was none.
std::string upgrade_text(GVariant *status);

ExitStatus run_state(Context &context, Arguments &arguments);
ExitStatus run_move(Context &context, Arguments &arguments);
ExitStatus run_stop(Context &context, Arguments &arguments);
ExitStatus run_position(Context &context, Arguments &arguments);
ExitStatus run_fov(Context &context, Arguments &arguments);
ExitStatus run_angle_to_zoom(Context &context, Arguments &arguments);
ExitStatus run_special(Context &context, Arguments &arguments);
ExitStatus run_params(Context &context, Arguments &arguments);
ExitStatus run_capabilities(Context &context, Arguments &arguments);
ExitStatus run_mode(Context &context, Arguments &arguments);
ExitStatus run_speed_factor(Context &context, Arguments &arguments);
ExitStatus run_published(Context &context, Arguments &arguments);
ExitStatus run_status(Context &context, Arguments &arguments);
ExitStatus run_upgrade(Context &context, Arguments &arguments);
ExitStatus run_monitor(Context &context, Arguments &arguments);
ExitStatus run_tour(Context &context, Arguments &arguments);
ExitStatus run_decode(Context &context, Arguments &arguments);

// The whole program: `words` are the command line's words after the program's name. Returns the exit status.
int run_ptzctl(std::vector<std::string> words);
