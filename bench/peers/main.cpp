// Usage: peers CONTEST... Runs contests and prints their results (contest.h).
#include "bench/camera.h"
#include "bench/peers/contest.h"

#include <algorithm>
#include <cstdio>
#include <string_view>

namespace {

struct Named {
    std::string_view name;
    Contest (*make)();
};

constexpr Named CONTESTS[] = {{"status", codec_status}, {"command", codec_command}, {"exchange", exchange},
                              {"get", bus_get},         {"set", bus_set},           {"start", start}};

} // namespace

int main(int argc, char *argv[])
{
    for (int i = 1; i < argc; ++i) {
        const auto *named = std::find_if(std::begin(CONTESTS), std::end(CONTESTS),
                                         [&](const Named &each) { return each.name == argv[i]; });
        if (named == std::end(CONTESTS)) {
            std::fprintf(stderr, "peers: there is no contest '%s'\n", argv[i]);
            return 2;
        }
        Contest contest = named->make();
        if (!contest_run(contest))
            return 1;
    }
    if (camera_put_away())
        return 0;
    std::fputs("peers: the simulator ended with an error or counted an offence\n", stderr);
    return 1;
}
