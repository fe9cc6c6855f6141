// campaign: every fault of the simulated board, in every phase of the camera's life, for every duration, against the
// real ptzd. Workers with a board each take the cells one after another.
#include "sim/faults.h"
#include "tests/campaign/report.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <fstream>
#include <map>
#include <stdexcept>
#include <sys/wait.h>
#include <tuple>
#include <unistd.h>

namespace {

constexpr int kTries = 3;

struct Options {
    bool slice = false;
    bool list = false;
    unsigned workers = 8;
    double patience = 1;
    std::uint64_t seed = 1;
    std::string only; // cells whose name has this
    std::string page;
};

bool parse(int argc, char **argv, Options &options)
{
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        const char *value = i + 1 < argc ? argv[i + 1] : nullptr;
        if (word == "--slice")
            options.slice = true;
        else if (word == "--list")
            options.list = true;
        else if (word == "--workers" && value != nullptr)
            options.workers = static_cast<unsigned>(std::max(1, std::atoi(argv[++i])));
        else if (word == "--patience" && value != nullptr)
            options.patience = std::max(1.0, std::strtod(argv[++i], nullptr));
        else if (word == "--seed" && value != nullptr)
            options.seed = std::strtoull(argv[++i], nullptr, 10);
        else if (word == "--only" && value != nullptr)
            options.only = argv[++i];
        else if (word == "--page" && value != nullptr)
            options.page = argv[++i];
        else
            return false;
    }
    return true;
}

std::vector<Cell> all_cells()
{
    std::vector<Cell> cells;
    for (const FaultClass &fault : fault_classes()) {
        for (std::size_t i = 0; i < kPhases * kDurations; ++i) {
            const Cell cell{&fault, static_cast<Phase>(i / kDurations), static_cast<Duration>(i % kDurations)};
            if (impossible(fault, cell.phase) == nullptr)
                cells.push_back(cell);
        }
    }
    return cells;
}

// The faults of the simulator that no class has.
std::string forgotten_faults()
{
    std::string forgotten;
    for (std::size_t i = 0; i < sim::kFaultCount; ++i) {
        const std::string_view fault = sim::row(static_cast<sim::Fault>(i)).name;
        const auto classes = fault_classes();
        if (std::none_of(classes.begin(), classes.end(), [fault](const FaultClass &one) {
                const std::string_view text = one.fault;
                return text.substr(0, text.find(' ')) == fault;
            }))
            forgotten += " " + std::string(fault);
    }
    return forgotten;
}

// Cells that have found something, in the slice for good.
constexpr std::tuple<std::string_view, Phase, Duration> kFound[] = {
    {"garbage-blocks", Phase::params, Duration::cleared},
    {"spi-error EIO", Phase::upgrade, Duration::once},
};

// One cell of each class, in the phases and durations by turns; those that cost patience on the wall where they cost
// least.
std::vector<Cell> slice()
{
    std::vector<Cell> cells;
    std::size_t turn = 0;
    for (const FaultClass &fault : fault_classes()) {
        for (const auto &[found, phase, duration] : kFound) {
            if (fault.fault == found)
                cells.push_back({&fault, phase, duration});
        }
        if (fault.wall_s > 0) {
            cells.push_back({&fault, impossible(fault, Phase::idle) ? Phase::power_up : Phase::idle, Duration::once});
            continue;
        }
        while (impossible(fault, static_cast<Phase>(turn % kPhases)) != nullptr)
            ++turn;
        cells.push_back(
            {&fault, static_cast<Phase>(turn % kPhases), static_cast<Duration>(turn / kPhases % kDurations)});
        ++turn;
    }
    return cells;
}

// Longest first, so that no worker is left with one at the end.
void sort_by_length(std::vector<Cell> &cells)
{
    const auto rank = [](const Cell &cell) {
        constexpr std::array<int, kPhases> kRanks{1, 4, 3, 2, 0}; // by Phase
        return cell.fault->wall_s > 0 ? -1 : kRanks[static_cast<std::size_t>(cell.phase)];
    };
    std::stable_sort(cells.begin(), cells.end(), [&](const Cell &a, const Cell &b) { return rank(a) < rank(b); });
}

Result run(std::unique_ptr<Rig> &rig, const Cell &cell, const Options &options, unsigned index)
{
    Result result{cell, Verdict::green, {}};
    std::string first;
    for (int time = 0; time < kTries; ++time) {
        try {
            if (rig == nullptr)
                rig = std::make_unique<Rig>(options.patience);
            result.outcome = try_cell(*rig, cell, options.seed + index);
        } catch (const std::runtime_error &error) {
            result.outcome.wrong = error.what();
        }
        if (result.outcome.wrong.empty()) {
            result.verdict = time == 0 ? Verdict::green : Verdict::unsteady;
            result.outcome.wrong = first;
            return result;
        }
        if (first.empty())
            first = result.outcome.wrong;
        if (rig != nullptr && std::getenv("CAMPAIGN_LOG") != nullptr)
            std::ofstream(std::getenv("CAMPAIGN_LOG"), std::ios::app) << "== " << name(cell) << "\n" << rig->logs();
        rig.reset();
        if (known_red(cell, result.outcome.wrong) != nullptr) {
            result.verdict = Verdict::known;
            return result;
        }
    }
    result.verdict = Verdict::red;
    return result;
}

// A worker: takes indices from one pipe, writes results into the other, a line each.
void work(const std::vector<Cell> &cells, const Options &options, int take, int give)
{
    std::unique_ptr<Rig> rig;
    unsigned index = 0;
    while (read(take, &index, sizeof index) == sizeof index) {
        const Result result = run(rig, cells[index], options, index);
        const auto &[wrong, told, back, met, answered] = result.outcome;
        std::string text = std::to_string(index) + " " + std::to_string(static_cast<int>(result.verdict)) + " " +
                           std::to_string(told) + " " + std::to_string(back) + " " +
                           std::to_string(static_cast<int>(met)) + " " + std::to_string(answered) + " " +
                           wrong.substr(0, 1000);
        std::replace(text.begin(), text.end(), '\n', ' ');
        text += "\n";
        if (write(give, text.data(), text.size()) < 0)
            break;
    }
    rig.reset();
}

std::vector<Result> run_all(const std::vector<Cell> &cells, const Options &options)
{
    int indices[2];
    int results[2];
    if (pipe(indices) != 0 || pipe(results) != 0)
        throw std::runtime_error("no pipes");
    for (unsigned i = 0; i < options.workers; ++i) {
        if (fork() != 0)
            continue;
        close(indices[1]);
        close(results[0]);
        work(cells, options, indices[0], results[1]);
        std::_Exit(0);
    }
    close(indices[0]);
    close(results[1]);
    for (unsigned i = 0; i < cells.size(); ++i) {
        if (write(indices[1], &i, sizeof i) < 0)
            break;
    }
    close(indices[1]);
    std::vector<Result> all;
    all.reserve(cells.size());
    for (const Cell &cell : cells)
        all.push_back({cell, Verdict::red, {.wrong = "the campaign itself failed"}});
    std::FILE *lines = fdopen(results[0], "r");
    std::array<char, 2048> buffer{};
    while (std::fgets(buffer.data(), buffer.size(), lines) != nullptr) {
        unsigned index = 0;
        int verdict = 0;
        int met = 0;
        int wrong = 0;
        Outcome outcome;
        std::sscanf(buffer.data(), "%u %d %lf %lf %d %lf %n", &index, &verdict, &outcome.told, &outcome.back, &met,
                    &outcome.answered, &wrong);
        outcome.met = met != 0;
        outcome.wrong = buffer.data() + wrong;
        outcome.wrong.erase(outcome.wrong.find_last_not_of('\n') + 1);
        all[index] = {cells[index], static_cast<Verdict>(verdict), outcome};
        std::puts(line(all[index]).c_str());
        std::fflush(stdout);
    }
    std::fclose(lines);
    while (wait(nullptr) > 0) {
    }
    return all;
}

int run(int argc, char **argv)
{
    Options options;
    if (!parse(argc, argv, options)) {
        std::fprintf(
            stderr,
            "campaign [--slice] [--list] [--only TEXT] [--workers N] [--patience N] [--seed N] [--page FILE]\n");
        return 2;
    }
    if (const std::string forgotten = forgotten_faults(); !forgotten.empty()) {
        std::fprintf(stderr, "campaign: faults of krx-sim without a class:%s\n", forgotten.c_str());
        return 1;
    }
    std::vector<Cell> cells = options.slice ? slice() : all_cells();
    std::erase_if(cells, [&](const Cell &cell) { return name(cell).find(options.only) == std::string::npos; });
    sort_by_length(cells);
    if (options.list) {
        for (const Cell &cell : cells)
            std::puts(name(cell).c_str());
        return 0;
    }
    const gint64 begin = g_get_monotonic_time();
    const std::vector<Result> results = run_all(cells, options);
    if (!options.page.empty())
        std::ofstream(options.page) << page(results, options.seed);
    std::printf("campaign: seed %llu, %zu classes of faults, %s; %lld s\n",
                static_cast<unsigned long long>(options.seed), fault_classes().size(), sum(results).c_str(),
                static_cast<long long>((g_get_monotonic_time() - begin) / G_USEC_PER_SEC));
    const bool red = std::any_of(results.begin(), results.end(),
                                 [](const Result &result) { return result.verdict == Verdict::red; });
    return red ? 1 : 0;
}

} // namespace

int main(int argc, char **argv)
{
    try {
        return run(argc, argv);
    } catch (const std::exception &problem) {
        std::fprintf(stderr, "campaign: %s\n", problem.what());
        return 1;
    }
}
