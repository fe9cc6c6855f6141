// The table of the command line. The parser, the help, the manual page and the completion of shells come from it.
#pragma once

#include "failure.h"

#include <limits>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

class Arguments;
class Context;

constexpr double kLongestWait = 3600; // seconds that a command line may ask for

// What a word may be.
enum class Kind {
    Word,      // the name itself
    Choice,    // one of those in the name, with "|" between
    Number,    // within its range
    Whole,     // the same without a fraction
    State,     // of the camera, by number or name
    Axis,      // AXIS=VALUE
    Command,   // of ptzctl
    Group,     // of parameters
    Parameter, // GROUP.NAME, or two words: GROUP NAME
    Value,     // for the parameter before it
    Special,   // a special command of the driver
    Preset,    // the name of one
    Condition, // of wait
    File,
    Text, // anything
};

enum class Need { One, Optional, Many }; // the latter two at the end only

// A word of a command, or the value of an option.
struct Field {
    Kind kind = Kind::Word;
    const char *name = ""; // as people see it; of an option's value: empty when it has none
    double least = std::numeric_limits<double>::lowest();
    double most = std::numeric_limits<double>::max();
    Need need = Need::One;
};

struct Option {
    const char *name; // "--wait"
    Field value;
    const char *help;
};

struct StatusText {
    ExitStatus status;
    const char *text;
};

// One way to write a command: its words, in order.
using Form = std::vector<Field>;

struct Command {
    const char *name = "";
    const char *summary = "";
    std::vector<Form> forms = {Form{}};
    std::vector<Option> options{};
    // Paragraphs, an empty line between; one that begins with a blank is shown as it stands.
    const char *text = "";
    std::vector<StatusText> statuses{}; // where they say more than those of the program
    std::vector<const char *> examples{};
    const char *left_behind = nullptr; // what goes on when it is interrupted; null: nothing
    ExitStatus (*run)(Context &context, const Arguments &arguments) = nullptr;
};

// All commands, in the order in which they are listed.
std::span<const Command> all_commands();
// Null when there is none of that name.
const Command *find_command(std::string_view name);

// What stands before or after any command, and the statuses of the program.
std::span<const Option> general_options();
std::span<const StatusText> all_statuses();

// The words in the name of a Choice.
std::vector<std::string> choices_of(const Field &field);

// The states of the camera: number, the word that people type, and what it is.
struct StateName {
    int number;
    const char *name;
    const char *text;
};
std::span<const StateName> all_states();
// Of a number or a name; null when it is neither.
const StateName *find_state(std::string_view word);

ExitStatus run_state(Context &context, const Arguments &arguments);
ExitStatus run_move(Context &context, const Arguments &arguments);
ExitStatus run_stop(Context &context, const Arguments &arguments);
ExitStatus run_position(Context &context, const Arguments &arguments);
ExitStatus run_fov(Context &context, const Arguments &arguments);
ExitStatus run_angle_to_zoom(Context &context, const Arguments &arguments);
ExitStatus run_wait(Context &context, const Arguments &arguments);
ExitStatus run_preset(Context &context, const Arguments &arguments);
ExitStatus run_special(Context &context, const Arguments &arguments);
ExitStatus run_params(Context &context, const Arguments &arguments);
ExitStatus run_capabilities(Context &context, const Arguments &arguments);
ExitStatus run_mode(Context &context, const Arguments &arguments);
ExitStatus run_speed_factor(Context &context, const Arguments &arguments);
ExitStatus run_published(Context &context, const Arguments &arguments);
ExitStatus run_status(Context &context, const Arguments &arguments);
ExitStatus run_upgrade(Context &context, const Arguments &arguments);
ExitStatus run_drive(Context &context, const Arguments &arguments);
ExitStatus run_doctor(Context &context, const Arguments &arguments);
ExitStatus run_metrics(Context &context, const Arguments &arguments);
ExitStatus run_monitor(Context &context, const Arguments &arguments);
ExitStatus run_tour(Context &context, const Arguments &arguments);
ExitStatus run_decode(Context &context, const Arguments &arguments);
ExitStatus run_trace(Context &context, const Arguments &arguments);
ExitStatus run_replay(Context &context, const Arguments &arguments);
ExitStatus run_help(Context &context, const Arguments &arguments);
