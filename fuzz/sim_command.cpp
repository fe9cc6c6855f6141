// The simulator's language: every line as a command at once, then all of them as a script.
#include "fuzz/target.h"
#include "sim/command.h"
#include "sim/script.h"
#include "tests/support/temp_folder.h"

FUZZ_TARGET(sim_command)
{
    static const TempFolder folder;
    sim::Board board({.folder = folder.path(), .manual_time = true});
    HOLDS(!board.start());
    for (const std::string &line : fuzz::lines(input)) {
        HOLDS(!board.command(line).text.empty());
        std::int64_t us = 0;
        HOLDS(!sim::parse_duration(line, us) || us >= 0);
        board.advance(100'000);
    }
    const sim::Reading reading = board.reading();
    HOLDS(reading.pan >= -170 && reading.pan <= 170 && reading.tilt >= -20 && reading.tilt <= 90);
    HOLDS(reading.magnification >= 1 && reading.focus >= 1144 && reading.focus <= 2048);

    folder.write("script", fuzz::text(input));
    (void)sim::load_script(folder.file("script"), board);
    board.advance(10'000'000);
    HOLDS(!board.command("clear").text.empty() && board.command("clear offences").ok);
}
