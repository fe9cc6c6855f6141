#define NCURSES_NOMACROS 1 // which would rename half of C++
#include "drive/screen.h"

#include "command.h"

#include <algorithm>
#include <curses.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

struct Screen::Terminal {
    SCREEN *screen;
};

namespace {

constexpr int kLeastLines = 15;
constexpr int kLeastColumns = 60;
constexpr unsigned kStuckAfter = 2; // seconds
constexpr int kGaugeColumns = 31;

constexpr struct {
    const char *axis;
    const char *format;
    double low, high;
} kRows[] = {
    {"pan", "%+8.2f deg", -170, 170}, {"tilt", "%+8.2f deg", -20, 90}, {"zoom", "%8.0f", 1, 19999},
    {"focus", "%8.0f", 1, 9999},      {"iris", "%8.0f", 1, 9999},
};

constexpr const char *kHelp[] = {
    "arrows  pan and tilt     page up, down  zoom      f, n  focus far, near",
    "+, -    speed            i, k  iris up, down      a, m  focus auto, manual",
    "0..9    presets          blank  stop              q  quit",
};

Failure too_small(int lines, int columns)
{
    return {EXIT_REFUSED, "Terminal",
            format_text("the terminal is too small: it has %d lines of %d columns, wanted are %d of %d", lines, columns,
                        kLeastLines, kLeastColumns)};
}

bool fits(int lines, int columns)
{
    return lines >= kLeastLines && columns >= kLeastColumns;
}

void send_to_terminal(std::string_view text)
{
    for (ssize_t sent = 0; !text.empty() && (sent = write(STDOUT_FILENO, text.data(), text.size())) > 0;)
        text.remove_prefix(static_cast<std::size_t>(sent));
}

// Writes what is drawn. A terminal that takes nothing for seconds is lost: the alarm then ends the program, and the
// service stops what a client that is gone has set going.
void refresh_screen()
{
    pollfd output{STDOUT_FILENO, POLLOUT, 0};
    if (poll(&output, 1, 0) <= 0)
        return;
    alarm(kStuckAfter);
    wrefresh(stdscr);
    alarm(0);
}

std::string gauge(double value, double low, double high)
{
    std::string text(kGaugeColumns, '-');
    const double part = std::clamp((value - low) / (high - low), 0.0, 1.0);
    text[static_cast<std::size_t>(part * (kGaugeColumns - 1) + 0.5)] = '#';
    return "[" + text + "]";
}

std::string known(const Position &values, const char *name, const char *format)
{
    const auto found = values.find(name);
    const bool is_known = found != values.end() &&
                          (found->second != -1 || std::string_view(name) == "pan" || std::string_view(name) == "tilt");
    const GText text(is_known ? g_strdup_printf(format, found->second) : g_strdup("       -"));
    return text.get();
}

} // namespace

Screen::Screen()
{
    if (isatty(STDIN_FILENO) == 0 || isatty(STDOUT_FILENO) == 0)
        throw usage_failure("driving wants a terminal; 'ptzctl move --continuous' does without");
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_row > 0 && !fits(size.ws_row, size.ws_col))
        throw too_small(size.ws_row, size.ws_col);
    SCREEN *screen = newterm(nullptr, stdout, stdin);
    if (screen == nullptr)
        throw Failure(EXIT_REFUSED, "Terminal",
                      std::string("nothing is known of a terminal of this kind; set TERM (it is '") +
                          printable(g_getenv("TERM") != nullptr ? g_getenv("TERM") : "") + "')");
    terminal_ = new Terminal{screen};
    raw(); // no key may freeze the terminal
    noecho();
    curs_set(0);
    send_to_terminal(kKeyboardOn);
}

Screen::~Screen()
{
    send_to_terminal(kKeyboardOff);
    endwin();
    delscreen(terminal_->screen);
    delete terminal_;
}

void Screen::resized()
{
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_row > 0)
        resizeterm(size.ws_row, size.ws_col);
    clearok(curscr, TRUE);
}

void Screen::show(const DrivenCamera &camera, double percent, const std::string &controller) const
{
    werase(stdscr);
    int line = 0;
    const auto put = [&line](const std::string &text) {
        mvwaddnstr(stdscr, line++, 1, text.c_str(), std::max(COLS - 2, 0));
    };
    if (!fits(LINES, COLS)) { // made smaller since; the keys do as before
        put("The terminal is too small.");
        refresh_screen();
        return;
    }
    put("camera " + printable(camera.state()) + ", link " + printable(camera.link()) +
        (camera.age() && *camera.age() >= 1 ? format_text(", last heard of %.0f s ago", *camera.age()) : ""));
    line++;
    for (const auto &[axis, format, low, high] : kRows) {
        const auto found = camera.position().find(axis);
        put(format_text("%-6s %-14s", axis, known(camera.position(), axis, format).c_str()) +
            (found != camera.position().end() ? gauge(found->second, low, high) : ""));
    }
    put("view  " + known(camera.fields_of_view(), "horizontal", "%8.2f") + " x" +
        known(camera.fields_of_view(), "vertical", "%6.2f deg"));
    put(format_text("speed %8.0f %%", percent) + (controller.empty() ? "" : "     " + printable(controller)));
    line++;
    for (const char *text : kHelp)
        put(text);
    std::string presets;
    for (std::size_t i = 0; i < std::min<std::size_t>(camera.presets().size(), 10); i++)
        presets += (i == 0 ? "" : "  ") + std::to_string((i + 1) % 10) + " " + printable(camera.presets()[i]);
    put(presets);
    wattron(stdscr, A_BOLD);
    put(printable(camera.complaint()));
    wattroff(stdscr, A_BOLD);
    refresh_screen();
}
