#include "bench/peers/contest.h"

#include "bench/samples.h"
#include "bench/wire.h"

#include <csignal>
#include <cstdio>
#include <ctime>
#include <sys/prctl.h>
#include <unistd.h>

namespace {

constexpr std::int64_t LONGEST_NS = 1'500'000'000; // of one repetition, on a machine too busy for all its samples

double processor_us(pid_t pid)
{
    clockid_t clock{};
    timespec used{};
    if (pid == 0 || clock_getcpuclockid(pid, &clock) != 0 || clock_gettime(clock, &used) != 0)
        return 0;
    return static_cast<double>(used.tv_sec) * 1e6 + static_cast<double>(used.tv_nsec) / 1e3;
}

struct Result {
    std::vector<double> median_ns, p99_ns, server_us;
};

bool repeat(const Contest &contest, const Contender &contender, Result &result)
{
    Samples samples(contest.samples);
    const double used = processor_us(contender.server);
    const std::int64_t end = monotonic_ns() + LONGEST_NS;
    int taken = 0;
    while (taken < contest.samples && (taken == 0 || monotonic_ns() < end)) {
        const std::int64_t began = monotonic_ns();
        for (int i = 0; i < contest.batch; ++i)
            if (!contender.once())
                return false;
        samples.add(monotonic_ns() - began);
        ++taken;
        if (contender.after)
            contender.after();
    }
    result.median_ns.push_back(samples.median_us() * 1e3 / contest.batch);
    result.p99_ns.push_back(samples.quantile_us(0.99) * 1e3 / contest.batch);
    result.server_us.push_back((processor_us(contender.server) - used) / taken / contest.batch);
    return true;
}

void print(const char *name, const std::vector<double> &values)
{
    std::printf(", \"%s\": [", name);
    for (std::size_t i = 0; i < values.size(); ++i)
        std::printf("%s%.1f", i == 0 ? "" : ", ", values[i]);
    std::printf("]");
}

} // namespace

bool contest_run(Contest &contest)
{
    const auto failed = [&contest](const Contender &contender, const char *where) {
        std::fprintf(stderr, "peers: %s: %s failed %s\n", contest.name, contender.name.c_str(), where);
        return false;
    };
    for (Contender &contender : contest.contenders) {
        if ((contender.set_up && !contender.set_up()) || !contender.once())
            return failed(contender, "to begin");
        if (contender.after)
            contender.after();
    }
    std::vector<Result> results(contest.contenders.size());
    for (int repetition = 0; repetition < contest.repetitions; ++repetition)
        for (std::size_t i = 0; i < results.size(); ++i)
            if (!repeat(contest, contest.contenders[i], results[i]))
                return failed(contest.contenders[i], "on the way");
    for (std::size_t i = 0; i < results.size(); ++i) {
        std::printf("{\"contest\": \"%s\", \"contender\": \"%s\"", contest.name, contest.contenders[i].name.c_str());
        print("median_ns", results[i].median_ns);
        print("p99_ns", results[i].p99_ns);
        print("server_us", results[i].server_us);
        std::printf("}\n");
    }
    std::fflush(stdout);
    return true;
}

pid_t start_child(const std::function<void()> &serve)
{
    const pid_t pid = fork();
    if (pid != 0)
        return pid > 0 ? pid : 0;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    serve();
    _exit(1);
}
