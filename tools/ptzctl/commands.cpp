// The rows of the table, and how to find them.
#include "table.h"

#include <algorithm>

namespace {

const std::vector<Option> kGeneralOptions = {
    {"--json",
     {},
     "write JSON, one object per line, and nothing else on standard output; a failure is an object with "
     "\"error\", one sentence, and \"code\", one word"},
    {"--timeout", {Kind::Number, "SECONDS", 0.001, 86400}, "how long one call may take (600)"},
    {"--help", {}, "explain the command, or list them all"},
    {"--version", {}, "print the version"},
};

constexpr const char *kAxisChoice = "pan|tilt|zoom|focus|iris|brightness";

constexpr StatusText kStatuses[] = {
    {EXIT_DONE, "done"},
    {EXIT_REFUSED, "the service refused or failed; a trace with lines that cannot be read"},
    {EXIT_USAGE, "the command line means nothing"},
    {EXIT_NO_SERVICE, "no bus, or no ptzd on it"},
    {EXIT_NO_ANSWER, "no answer, or not the state waited for, in the time given"},
    {EXIT_NOT_REACHED, "a move that was waited for did not come to its place; a continuous one was not taken, or the "
                       "camera or its link broke off. The output has the reason and the last position"},
    {EXIT_INTERRUPTED, "ended by Ctrl-C before it was done; the message says what goes on without it"},
};

constexpr StateName kStates[] = {
    {0, "not-opened", "not opened"},
    {1, "running", "running"},
    {2, "too-cold", "stopped, too cold"},
    {3, "too-hot", "stopped, too hot"},
    {4, "starting", "starting"},
    {5, "upgrading", "upgrading its firmware"},
    {6, "closed", "closed"},
    {7, "failed", "failed"},
};

const std::vector<Command> kCommands = {
    {.name = "state",
     .summary = "what the camera is doing: running, starting, failed, ...",
     .options = {{"--wait",
                  {Kind::State, "STATE"},
                  "wait for that state, by number or name, also for a ptzd that is not there yet"},
                 {"--within", {Kind::Number, "SECONDS", 0, kLongestWait}, "how long to wait (60)"}},
     .text = "Prints the state's number and words. By name:\n"
             "\n"
             "  0 not-opened  1 running   2 too-cold  3 too-hot\n"
             "  4 starting    5 upgrading 6 closed    7 failed",
     .statuses = {{EXIT_NO_ANSWER, "not that state in that time"}},
     .examples = {"ptzctl state", "ptzctl state --wait running --within 30"},
     .run = run_state},
    {.name = "move",
     .summary = "move axes to a place, by an amount, or on and on",
     .forms = {{{.kind = Kind::Axis, .name = "AXIS=VALUE", .need = Need::Many}}},
     .options = {{"--absolute", {}, "values that do not say their own type are places (the default)"},
                 {"--relative", {}, "they are amounts"},
                 {"--continuous", {}, "they are speeds"},
                 {"--speed",
                  {Kind::Number, "PERCENT", 0, 100},
                  "of absolute and relative moves; 0: as fast as the camera goes"},
                 {"--wait", {}, "end when the move is over, and tell how it ended and where"},
                 {"--for", {Kind::Number, "SECONDS", 0, kLongestWait}, "stop a continuous move after that time"},
                 {"--preset", {}, "the places are a stored preset's"}},
     .text = "Axes and values:\n"
             "\n"
             "              absolute      relative        continuous\n"
             "  pan         -170..170     -340..340       -100..100, + is right\n"
             "  tilt        -20..90       -110..110       -100..100, + is up\n"
             "  zoom        1..19999      -19998..19998   -100..100, + is in\n"
             "  focus       1..9999       -9998..9998     -100..100, + is far\n"
             "  iris        1..9999       -9998..9998\n"
             "  brightness  1..9999       -9998..9998\n"
             "\n"
             "Pan and tilt are degrees, speeds percent; from 10000 on the zoom is digital. A value says its own type "
             "with abs:, rel: or cont: before it.\n"
             "\n"
             "With --wait the status is 0 when every axis stands where it was told to go, else 5, with the reason: "
             "stopped, replaced (by another move), limit, not taken, link lost or camera stopped.\n"
             "\n"
             "A continuous move lasts while ptzctl runs: until it is over (a stop or another move by somebody, the end "
             "of the range), the time given with --for, or Ctrl-C. It ends with status 5 when the camera or its link "
             "broke off.",
     .statuses = {{EXIT_NOT_REACHED, "waited for, and not where it was told to go"}},
     .examples = {"ptzctl move pan=10 tilt=-5 zoom=2000 --speed 50", "ptzctl move --relative pan=5 --wait",
                  "ptzctl move --continuous pan=-30 zoom=20 --for 2", "ptzctl move pan=abs:10 tilt=rel:-1"},
     .left_behind = "a move to a place goes on, 'ptzctl stop' stops it; a continuous one ends",
     .run = run_move},
    {.name = "stop",
     .summary = "stop every axis at once",
     .text = "Stops every axis; overtakes whatever waits to be done. Done when the camera has been seen to stand. "
             "Otherwise status 1 after a second; the service goes on until it does.",
     .examples = {"ptzctl stop"},
     .left_behind = "the service goes on until the camera stands",
     .run = run_stop},
    {.name = "wait",
     .summary = "wait for the end of a move, a state, a link, a temperature",
     .options = {{"--for", {Kind::Condition, "CONDITION"}, "what to wait for"}},
     .text = "Conditions:\n"
             "\n"
             "  reached          nothing moves, and the last move has come to its place\n"
             "  standing         nothing moves\n"
             "  link=up          or down, off\n"
             "  state=running    or another state, by number or name\n"
             "  temperature<60   or >, degrees Celsius\n"
             "\n"
             "--timeout says how long to wait. A last move that has ended elsewhere ends the wait for reached; a ptzd "
             "that is not there, any.",
     .statuses = {{EXIT_NO_ANSWER, "not in that time"}, {EXIT_NOT_REACHED, "the last move has not come to its place"}},
     .examples = {"ptzctl wait --for reached --timeout 20", "ptzctl wait --for 'temperature<60'"},
     .run = run_wait},
    {.name = "preset",
     .summary = "keep places under names, and go to them",
     .forms = {{{.kind = Kind::Word, .name = "list", .need = Need::Optional}},
               {{.kind = Kind::Word, .name = "set"}, {.kind = Kind::Preset, .name = "NAME"}},
               {{.kind = Kind::Word, .name = "set"},
                {.kind = Kind::Preset, .name = "NAME"},
                {.kind = Kind::Choice, .name = kAxisChoice, .need = Need::Many}},
               {{.kind = Kind::Word, .name = "goto"}, {.kind = Kind::Preset, .name = "NAME"}},
               {{.kind = Kind::Word, .name = "home"}, {.kind = Kind::Word, .name = "set", .need = Need::Optional}},
               {{.kind = Kind::Word, .name = "which"}},
               {{.kind = Kind::Word, .name = "which"},
                {.kind = Kind::Axis, .name = "AXIS=TOLERANCE", .need = Need::Many}},
               {{.kind = Kind::Word, .name = "rename"},
                {.kind = Kind::Preset, .name = "NAME"},
                {.kind = Kind::Preset, .name = "NEW-NAME"}},
               {{.kind = Kind::Word, .name = "remove"}, {.kind = Kind::Preset, .name = "NAME"}},
               {{.kind = Kind::Word, .name = "export"}, {.kind = Kind::File, .name = "FILE", .need = Need::Optional}},
               {{.kind = Kind::Word, .name = "import"}, {.kind = Kind::File, .name = "FILE"}}},
     .options = {{"--settings",
                  {Kind::Parameter, "GROUP.NAME,..."},
                  "of set: parameters whose present values belong to the preset"},
                 {"--speed", {Kind::Number, "PERCENT", 0, 100}, "of goto and home; 0: as fast as the camera goes"},
                 {"--wait", {}, "of goto and home: end when the move is over, and tell how it ended and where"},
                 {"--alone", {}, "of import: presets that are not in the file are removed"}},
     .text =
         "A preset is the place of some axes under a name (64 bytes, 256 presets), with values of parameters. They "
         "are kept over restarts of ptzd.\n"
         "\n"
         "set keeps where the camera is: of the axes that are named, else pan, tilt, zoom and what is moved by "
         "hand of focus, iris and brightness. goto sets the parameters, then moves; home goes to the preset "
         "of that name, home set sets it. which names the presets that the camera is on, within a tolerance by axis. "
         "export and import are JSON, FILE - is standard input; of a file with something wrong nothing is taken.",
     .statuses = {{EXIT_NOT_REACHED, "waited for, and not where it was told to go"}},
     .examples = {"ptzctl preset set Door", "ptzctl preset set Night pan tilt --settings ImageSource.WDR",
                  "ptzctl preset goto Door --speed 50 --wait", "ptzctl preset which pan=0.5 zoom=100",
                  "ptzctl preset export presets.json"},
     .left_behind = "what was asked for goes on; 'ptzctl stop' stops a move",
     .run = run_preset},
    {.name = "drive",
     .summary = "move the camera by hand, with keys or a game controller",
     .options = {{"--speed", {Kind::Number, "PERCENT", 1, 100}, "of the keys, at first (50)"},
                 {"--gamepad", {}, "with the first game controller that is there, too"},
                 {"--gamepad-device", {Kind::File, "FILE"}, "with that one: /dev/input/event7"}},
     .text =
         "Takes the terminal over and shows where the camera looks. What is held moves, and stands when it is let go:\n"
         "\n"
         "  arrows      pan and tilt         page up, down  zoom\n"
         "  f, n        focus far, near      i, k           iris up, down\n"
         "  +, -        speed                a, m           focus auto, manual\n"
         "  0..9        go to a preset       q, Ctrl-C      quit\n"
         "\n"
         "Every other key stops the camera. Most terminals do not tell when a key is let go; there it counts as let "
         "go when it is not repeated within 0.6 seconds, then 0.2. When the terminal is lost the camera is "
         "stopped.\n"
         "\n"
         "A game controller: left stick pan and tilt, triggers zoom, shoulder buttons focus, upper and left button "
         "iris, lower button stop, cross presets 1 to 4.",
     .statuses = {{EXIT_REFUSED, "the terminal is too small, or there is no such controller"}},
     .examples = {"ptzctl drive", "ptzctl drive --gamepad --speed 80"},
     .run = run_drive},
    {.name = "position",
     .summary = "where the camera looks",
     .options = {{"--watch", {}, "print a line whenever a position or the link changes, until Ctrl-C"},
                 {"--for", {Kind::Number, "SECONDS", 0, kLongestWait}, "watch that long"}},
     .text = "Prints pan and tilt in degrees, zoom (1..19999), focus, iris and brightness (1..9999), the age of all "
             "that in seconds, and the link to the camera block (up, down, or off while it is not expected to talk).",
     .examples = {"ptzctl position", "ptzctl --json position --watch"},
     .run = run_position},
    {.name = "fov",
     .summary = "the fields of view",
     .text = "Prints the horizontal field angle now and at its widest, and the horizontal and vertical fields of view "
             "that the camera reports, all in degrees.",
     .examples = {"ptzctl fov"},
     .run = run_fov},
    {.name = "angle-to-zoom",
     .summary = "the zoom position for a field angle",
     .forms = {{{.kind = Kind::Number, .name = "ANGLE", .least = 0.001, .most = 180}}},
     .options = {{"--scale", {Kind::Whole, "PERCENT", 1, 1000}, "whole percent, 1..1000 (100)"}},
     .text = "Prints the zoom position, as 'ptzctl move zoom=' takes it, at which the picture is ANGLE x 100 / PERCENT "
             "degrees wide. An angle that the camera cannot show is refused.",
     .examples = {"ptzctl angle-to-zoom 12.5", "ptzctl angle-to-zoom 12.5 --scale 50"},
     .run = run_angle_to_zoom},
    {.name = "special",
     .summary = "list or run special commands",
     .forms = {{{.kind = Kind::Word, .name = "list", .need = Need::Optional}},
               {{.kind = Kind::Special, .name = "COMMAND"}}},
     .text = "Lists the commands that the driver takes at this moment, or runs one and waits for its end. reset is "
             "done when the camera runs again, with the firmware of its image if there is one; else it fails and says "
             "why.",
     .examples = {"ptzctl special list", "ptzctl special reset", "ptzctl special 'video_output|sdi'"},
     .left_behind = "the camera goes on with the command; 'ptzctl state' says when it runs",
     .run = run_special},
    {.name = "params",
     .summary = "list, get, set and reset parameters",
     .forms = {{{.kind = Kind::Word, .name = "list", .need = Need::Optional},
                {.kind = Kind::Group, .name = "GROUP", .need = Need::Optional}},
               {{.kind = Kind::Word, .name = "get"}, {.kind = Kind::Parameter, .name = "GROUP.NAME"}},
               {{.kind = Kind::Word, .name = "set"},
                {.kind = Kind::Parameter, .name = "GROUP.NAME"},
                {.kind = Kind::Value, .name = "VALUE"}},
               {{.kind = Kind::Word, .name = "reset"}, {.kind = Kind::Parameter, .name = "GROUP.NAME"}}},
     .text = "Lists the parameters of one group or of all (name, value, and the values that it takes), prints one "
             "value, sets one or gives it back its default, and waits until the driver has applied it. Values are kept "
             "over a restart of ptzd.\n"
             "\n"
             "Groups: Limit, UserAdv, ImageSource. 'GROUP NAME' does as well as 'GROUP.NAME'.",
     .examples = {"ptzctl params list Limit", "ptzctl params get Limit.MaxZoom", "ptzctl params set ImageSource.WDR on",
                  "ptzctl params set ImageSource.MaxExposureTime -2", "ptzctl params reset Limit.MaxZoom"},
     .left_behind = "a value that was being set is applied all the same; 'ptzctl params get' shows it",
     .run = run_params},
    {.name = "capabilities",
     .summary = "what the driver can do",
     .forms = {{{.kind = Kind::Choice, .name = "focus|speed|zoom", .need = Need::Optional}}},
     .text = "Prints key=value texts of one category or of all.",
     .examples = {"ptzctl capabilities zoom"},
     .run = run_capabilities},
    {.name = "mode",
     .summary = "show or set the iris, focus and backlight modes",
     .forms = {{},
               {{.kind = Kind::Choice, .name = "iris|focus"}, {.kind = Kind::Choice, .name = "auto|manual"}},
               {{.kind = Kind::Word, .name = "backlight"}, {.kind = Kind::Choice, .name = "on|off"}}},
     .text = "Sets how the camera works; done when it has taken it. Alone it shows all three.",
     .examples = {"ptzctl mode", "ptzctl mode focus manual", "ptzctl mode backlight on"},
     .left_behind = "the mode is set all the same",
     .run = run_mode},
    {.name = "speed-factor",
     .summary = "how fast continuous moves are",
     .forms = {{},
               {{.kind = Kind::Choice, .name = "on|off"},
                {.kind = Kind::Whole, .name = "PERCENT", .least = -32768, .most = 32767}}},
     .text = "on: continuous pan and tilt speeds follow the field of view, PERCENT of it per second at full speed. "
             "off: they do not; PERCENT is kept for later. Alone it shows both.",
     .examples = {"ptzctl speed-factor", "ptzctl speed-factor on 50"},
     .left_behind = "the factor is set all the same",
     .run = run_speed_factor},
    {.name = "published",
     .summary = "what the driver has published",
     .text = "Prints the status-cache groups, the data caches, and whether the picture is blanked or frozen.",
     .examples = {"ptzctl --json published"},
     .run = run_published},
    {.name = "status",
     .summary = "state, link, temperature, errors, model and firmware",
     .text = "Prints the state, the link to the camera block (up, down, or off while it is not expected to talk), how "
             "often it was reset since the link went down and has started anew by itself, the temperature, the errors "
             "that the camera reported last, and what it says of itself: how its parts are, its model and firmware "
             "version, when that was looked at; why it has failed, and what came of the last firmware upgrade. "
             "Answered at once, whatever the camera does.",
     .examples = {"ptzctl status"},
     .run = run_status},
    {.name = "upgrade",
     .summary = "give the camera new firmware, or see what came of the last time",
     .forms = {{{.kind = Kind::File, .name = "FILE", .need = Need::Optional}}},
     .options = {{"--yes", {}, "do not ask"},
                 {"--dry-run", {}, "say what would be done with FILE, and do nothing"},
                 {"--retry", {}, "try the image that lies there again, though it has failed"}},
     .text =
         "With FILE: looks whether it is a firmware image and which version it holds, puts it where the driver looks "
         "for one (which wants the right to write there: root), restarts the camera and shows how far it is. The "
         "camera may take minutes; do not switch its power off.\n"
         "\n"
         "Without: prints from which version to which the firmware was last to be upgraded, when, and what came of "
         "it. The camera looks for an image whenever it starts. One that failed three times in a row is not tried "
         "again by itself until it is another one.",
     .statuses = {{EXIT_REFUSED, "no firmware image, or the camera does not have its version"}},
     .examples = {"ptzctl upgrade", "ptzctl upgrade IMC.APP --dry-run", "sudo ptzctl upgrade IMC.APP --yes",
                  "ptzctl upgrade --retry"},
     .left_behind = "the upgrade goes on; 'ptzctl state' says when the camera runs, 'ptzctl upgrade' what came of it",
     .run = run_upgrade},
    {.name = "doctor",
     .summary = "what keeps the camera from working, and what to do",
     .text =
         "Looks at the configuration files, the devices, the spidev buffer, your rights, the room for settings, the "
         "firmware file, the bus, the image services, the camera, its link and its temperature sensor. Prints a "
         "line for each, ok, warning or fault, and under it the next step. The configuration is checked by "
         "'ptzd --check'; PTZD names another ptzd.",
     .statuses = {{EXIT_REFUSED, "not all is well"}},
     .examples = {"ptzctl doctor", "ptzctl --json doctor"},
     .run = run_doctor},
    {.name = "monitor",
     .summary = "print state changes, events and new parameter values",
     .options = {{"--positions", {}, "where the camera is instead, as it changes: JSON, one object per line"}},
     .text = "First a snapshot of the status, then one line for each signal of the service, as they come, until "
             "Ctrl-C.\n"
             "\n"
             "With --positions a line for where the camera is, and one whenever that changes, at most 30 a second: "
             "time (UTC, when the camera told so), age (seconds since then), the axes by name, horizontal and "
             "vertical (the fields of view in degrees), moving (axes). The end of a move has its id as done, "
             "reached, reason, and the axes.",
     .examples = {"ptzctl monitor", "ptzctl monitor --positions"},
     .run = run_monitor},
    {.name = "metrics",
     .summary = "numbers over time: commands, frames, latencies, outages",
     .text =
         "Prints what ptzd has counted since it began, in the text form that Prometheus reads; with --json an object "
         "for each number. 'ptzd --metrics FILE' writes the same into a file.",
     .examples = {"ptzctl metrics", "ptzctl --json metrics"},
     .run = run_metrics},
    {.name = "tour",
     .summary = "show the camera in action and check each step",
     .options = {{"--no-reset", {}, "do not restart the camera at the end"}},
     .text = "Waits for the camera, moves every axis, stops one in mid-move, sets the modes and one parameter of each "
             "family (which then have their former values again), asks for the capabilities, and runs the special "
             "commands wbonep and reset. Every step is checked against what the camera reports; the first wrong one "
             "ends the tour.",
     .statuses = {{EXIT_REFUSED, "a step came out wrong"}},
     .examples = {"ptzctl tour"},
     .left_behind = "the camera ends the step and stays as it then is",
     .run = run_tour},
    {.name = "trace",
     .summary = "record the traffic with the camera block",
     .forms = {{{.kind = Kind::Choice, .name = "on|off"}}},
     .text =
         "on: ptzd records what goes to the camera block and comes from it, the levels of its lines and the requests, "
         "into the file that is printed, and the one with .1 behind its name. off: no more; done when all is written. "
         "Members of ptz-admin may.\n"
         "\n"
         "'ptzctl decode' puts it into words. 'ptzctl replay' needs one from the start on, as ptzd --trace writes it.",
     .examples = {"ptzctl trace on", "ptzctl trace off"},
     .left_behind = "the trace is begun, or ended, all the same",
     .run = run_trace},
    {.name = "decode",
     .summary = "put a trace into words",
     .forms = {{{.kind = Kind::File, .name = "TRACE"}}},
     .options = {{"--sent", {}, "only what the driver sent and drove"},
                 {"--received", {}, "only what came from the block"},
                 {"--record", {Kind::Text, "NAME"}, "only records, blocks and requests whose words begin so"},
                 {"--follow", {}, "go on while the trace grows, until Ctrl-C"},
                 {"--pcapng", {Kind::File, "FILE"}, "write a capture file for Wireshark instead; -: standard output"},
                 {"--big-endian",
                  {},
                  "headers of received frames have the most significant byte first, whatever the "
                  "trace says"}},
     .text =
         "TRACE is a file written by ptzd --trace or krx-sim --trace, or - for standard input. A trace that does not "
         "say in which order the bytes of headers are has each frame read as it makes sense. Lines that are no "
         "trace are reported with their number and skipped; so is the end of a trace that was cut.",
     .statuses = {{EXIT_REFUSED, "some lines are no trace, or it was cut"}},
     .examples = {"ptzctl decode wire.trace --sent", "ptzctl decode wire.trace --record 'pan position'",
                  "ptzctl decode ptzd.trace --follow", "ptzctl decode wire.trace --pcapng wire.pcapng",
                  "tail -n 20 wire.trace | ptzctl decode -"},
     .run = run_decode},
    {.name = "replay",
     .summary = "play a trace to the driver, and compare what it does",
     .forms = {{{.kind = Kind::File, .name = "TRACE"}}},
     .options = {{"--plugin", {Kind::File, "FILE"}, "another driver plug-in than that of ptzd"},
                 {"--time-scale", {Kind::Number, "N", 0.1, 1000}, "how many times as fast (20)"}},
     .text =
         "TRACE is a file that ptzd --trace has begun, or - for standard input. On a bus of its own ptzd gets a board "
         "that does what the camera block did, with the configuration of the trace; the requests are made again, and "
         "what the driver sends and drives is compared. The first difference ends it. No camera is touched.\n"
         "\n"
         "A trace of krx-sim has no requests: what comes without them, like a start, is compared. PTZD names another "
         "ptzd.",
     .statuses = {{EXIT_REFUSED, "the driver does something else, the trace was cut or is none"}},
     .examples = {"ptzctl replay ptzd.trace", "cat ptzd.trace.1 ptzd.trace | ptzctl replay -"},
     .run = run_replay},
    {.name = "help",
     .summary = "explain a command, or list them all",
     .forms = {{{.kind = Kind::Command, .name = "COMMAND", .need = Need::Optional}}},
     .text = "Does what --help does.",
     .examples = {"ptzctl help move"},
     .run = run_help},
};

} // namespace

std::span<const Command> all_commands()
{
    return kCommands;
}

const Command *find_command(std::string_view name)
{
    const auto found =
        std::find_if(kCommands.begin(), kCommands.end(), [&](const Command &command) { return name == command.name; });
    return found == kCommands.end() ? nullptr : &*found;
}

std::span<const Option> general_options()
{
    return kGeneralOptions;
}

std::span<const StatusText> all_statuses()
{
    return kStatuses;
}

std::vector<std::string> choices_of(const Field &field)
{
    std::vector<std::string> choices(1);
    for (const char *at = field.name; *at != '\0'; at++) {
        if (*at == '|')
            choices.emplace_back();
        else
            choices.back() += *at;
    }
    return choices;
}

std::span<const StateName> all_states()
{
    return kStates;
}

const StateName *find_state(std::string_view word)
{
    for (const StateName &state : kStates) {
        if (word == state.name || word == std::to_string(state.number))
            return &state;
    }
    return nullptr;
}
