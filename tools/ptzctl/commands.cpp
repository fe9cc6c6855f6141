// The table of commands, with the help of each.
#include "command.h"

namespace {

constexpr Command kCommands[] = {
    {"state", "what the camera is doing: running, starting, failed, ...",
     "Usage: ptzctl state [--wait N [--within SECONDS]]\n"
     "\n"
     "Prints the state's number and words:\n"
     "  0 not opened  1 running   2 stopped, too cold        3 stopped, too hot\n"
     "  4 starting    6 closed    5 upgrading its firmware   7 failed\n"
     "\n"
     "  --wait N           wait until the state is N, also for a ptzd that is not there yet\n"
     "  --within SECONDS   how long to wait (60)\n"
     "\n"
     "Examples:\n"
     "  ptzctl state\n"
     "  ptzctl state --wait 1 --within 30\n",
     run_state},
    {"move", "move axes to a place, by an amount, or on and on",
     "Usage: ptzctl move [OPTION...] AXIS=VALUE...\n"
     "\n"
     "Axes and values:\n"
     "              absolute             relative           continuous\n"
     "  pan         -170..170 degrees    -340..340          -100..100 percent, + right\n"
     "  tilt         -20..90 degrees     -110..110          -100..100 percent, + up\n"
     "  zoom           1..19999          -19998..19998      -100..100 percent, + in (from 10000: digital)\n"
     "  focus          1..9999           -9998..9998        -100..100 percent, + far\n"
     "  iris, brightness\n"
     "                 1..9999           -9998..9998\n"
     "\n"
     "  --absolute, --relative, --continuous\n"
     "                 the type of values that do not say their own (absolute);\n"
     "                 a value says its own with abs:, rel: or cont: before it\n"
     "  --speed N      percent of absolute and relative moves, 0..100 (0: as fast as the camera goes)\n"
     "  --wait         end when the move is over, and tell how it ended and where\n"
     "  --for SECONDS  stop a continuous move after that time\n"
     "  --preset       the move goes to a stored preset\n"
     "\n"
     "With --wait the status is 0 when every axis stands where it was told to go, else 5, with the reason: stopped,\n"
     "replaced (by another move), limit, not taken, link lost or camera stopped.\n"
     "\n"
     "A continuous move lasts while ptzctl runs: until it is over (a stop or another move by somebody, the end of the\n"
     "range), the time given with --for, or Ctrl-C. It ends with status 5 when the camera or its link broke off.\n"
     "\n"
     "Examples:\n"
     "  ptzctl move pan=10 tilt=-5 zoom=2000 --speed 50\n"
     "  ptzctl move --relative pan=5 --wait\n"
     "  ptzctl move --continuous pan=-30 zoom=20 --for 2\n"
     "  ptzctl move pan=abs:10 tilt=rel:-1\n",
     run_move},
    {"stop", "stop every axis at once",
     "Usage: ptzctl stop\n"
     "\n"
     "Stops every axis; overtakes whatever waits to be done. Done when the camera has been seen to stand. Otherwise\n"
     "status 1 after a second; the service goes on until it does.\n"
     "\n"
     "Example:\n"
     "  ptzctl stop\n",
     run_stop},
    {"position", "where the camera looks",
     "Usage: ptzctl position [--watch [--for SECONDS]]\n"
     "\n"
     "Prints pan and tilt in degrees, zoom (1..19999), focus, iris and brightness (1..9999), the age of all that in\n"
     "seconds, and the link to the camera block (up, down, or off while it is not expected to talk).\n"
     "\n"
     "  --watch         print a line whenever a position or the link changes, until Ctrl-C\n"
     "  --for SECONDS   watch that long\n"
     "\n"
     "Examples:\n"
     "  ptzctl position\n"
     "  ptzctl --json position --watch\n",
     run_position},
    {"fov", "the fields of view",
     "Usage: ptzctl fov\n"
     "\n"
     "Prints the horizontal field angle now and at its widest, and the horizontal and vertical fields of view that "
     "the\n"
     "camera reports, all in degrees.\n"
     "\n"
     "Example:\n"
     "  ptzctl fov\n",
     run_fov},
    {"angle-to-zoom", "the zoom position for a field angle",
     "Usage: ptzctl angle-to-zoom ANGLE [--scale PERCENT]\n"
     "\n"
     "Prints the zoom position at which the picture is ANGLE x 100 / PERCENT degrees wide.\n"
     "\n"
     "  --scale PERCENT   whole percent, 1..1000 (100)\n"
     "\n"
     "Examples:\n"
     "  ptzctl angle-to-zoom 12.5\n"
     "  ptzctl angle-to-zoom 12.5 --scale 50\n",
     run_angle_to_zoom},
    {"special", "list or run special commands",
     "Usage: ptzctl special [list | COMMAND]\n"
     "\n"
     "Lists the commands that the driver takes at this moment, or runs one and waits for its end. reset is done when\n"
     "the camera runs again, with the firmware of its image if there is one; else it fails and says why.\n"
     "\n"
     "Examples:\n"
     "  ptzctl special list\n"
     "  ptzctl special reset\n"
     "  ptzctl special 'video_output|sdi'\n",
     run_special},
    {"params", "list, get and set parameters",
     "Usage: ptzctl params [list [GROUP] | get GROUP.NAME | set GROUP.NAME VALUE]\n"
     "\n"
     "Lists the parameters of one group or of all (group, name, kind, value, and the range or choices), prints one\n"
     "value, or sets one and waits until the driver has applied it. Values are kept over a restart of ptzd.\n"
     "Groups: Limit, UserAdv, ImageSource. 'GROUP NAME' does as well as 'GROUP.NAME'.\n"
     "\n"
     "Examples:\n"
     "  ptzctl params list Limit\n"
     "  ptzctl params get Limit.MaxZoom\n"
     "  ptzctl params set ImageSource.WDR on\n"
     "  ptzctl params set ImageSource.MaxExposureTime -2\n",
     run_params},
    {"capabilities", "what the driver can do",
     "Usage: ptzctl capabilities [CATEGORY]\n"
     "\n"
     "Prints key=value texts of one category (focus, speed, zoom) or of all.\n"
     "\n"
     "Example:\n"
     "  ptzctl capabilities zoom\n",
     run_capabilities},
    {"mode", "set the iris, focus and backlight modes",
     "Usage: ptzctl mode iris|focus auto|manual\n"
     "       ptzctl mode backlight on|off\n"
     "\n"
     "Examples:\n"
     "  ptzctl mode focus manual\n"
     "  ptzctl mode backlight on\n",
     run_mode},
    {"speed-factor", "how fast continuous moves are",
     "Usage: ptzctl speed-factor on|off PERCENT\n"
     "\n"
     "on: continuous pan and tilt speeds follow the field of view, PERCENT of it per second at full speed.\n"
     "off: they do not; PERCENT is kept for later.\n"
     "\n"
     "Example:\n"
     "  ptzctl speed-factor on 50\n",
     run_speed_factor},
    {"published", "what the driver has published",
     "Usage: ptzctl published\n"
     "\n"
     "Prints the status-cache groups, the data caches, and whether the picture is blanked or frozen.\n"
     "\n"
     "Example:\n"
     "  ptzctl --json published\n",
     run_published},
    {"status", "state, link, temperature, errors, model and firmware",
     "Usage: ptzctl status\n"
     "\n"
     "Prints the state, the link to the camera block (up, down, or off while it is not expected to talk), how often\n"
     "it was reset since the link went down and has started anew by itself, the temperature, the errors that the\n"
     "camera reported last, and what it says of itself: how its parts are, its model and firmware version, when that\n"
     "was looked at; why it has failed, and what came of the last firmware upgrade. Answered at once, whatever the\n"
     "camera does.\n"
     "\n"
     "Example:\n"
     "  ptzctl status\n",
     run_status},
    {"upgrade", "the last upgrade of the camera's firmware, or another try",
     "Usage: ptzctl upgrade [--retry]\n"
     "\n"
     "Prints from which version to which the camera's firmware was last to be upgraded, when, and what came of it.\n"
     "The camera is upgraded when it starts, from the image IMC.APP in the configuration folder. An image that failed\n"
     "three times in a row is not tried again until it is another one.\n"
     "\n"
     "  --retry   try such an image again: restarts the camera and waits for the end; may take minutes\n"
     "\n"
     "Examples:\n"
     "  ptzctl upgrade\n"
     "  ptzctl upgrade --retry\n",
     run_upgrade},
    {"monitor", "print state changes, events and new parameter values as they come",
     "Usage: ptzctl monitor\n"
     "\n"
     "First a snapshot of the status, then one line for each signal of the service, until Ctrl-C.\n"
     "\n"
     "Example:\n"
     "  ptzctl monitor\n",
     run_monitor},
    {"tour", "show the camera in action and check each step",
     "Usage: ptzctl tour [--no-reset]\n"
     "\n"
     "Waits for the camera, moves every axis, stops one in mid-move, sets the modes and one parameter of each family\n"
     "(which then have their former values again), asks for the capabilities, and runs the special commands wbonep "
     "and\n"
     "reset. Every step is checked against what the camera reports; the first wrong one ends the tour with status 1.\n"
     "\n"
     "  --no-reset   do not restart the camera at the end\n"
     "\n"
     "Example:\n"
     "  ptzctl tour\n",
     run_tour},
    {"decode", "put a trace of krx-sim into words",
     "Usage: ptzctl decode TRACE [--sent] [--big-endian]\n"
     "\n"
     "TRACE is a file written by krx-sim --trace, or - for standard input. Lines that are no trace are reported with\n"
     "their number and skipped; the exit status is then 1.\n"
     "\n"
     "  --sent         only what the driver sent\n"
     "  --big-endian   headers of received frames have the most significant byte first\n"
     "\n"
     "Examples:\n"
     "  ptzctl decode wire.trace --sent\n"
     "  tail -n 20 wire.trace | ptzctl decode -\n",
     run_decode},
};

} // namespace

std::span<const Command> all_commands()
{
    return kCommands;
}
