#include "tests/campaign/report.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace {

std::string number(double value)
{
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.1f", value);
    return value < 0 ? "-" : text.data();
}

std::size_t count(const std::vector<Result> &results, Verdict verdict)
{
    return static_cast<std::size_t>(
        std::count_if(results.begin(), results.end(), [=](const Result &one) { return one.verdict == verdict; }));
}

// The worst of a class in a phase, over the durations.
std::string worst(const std::vector<Result> &results, const FaultClass &fault, Phase phase)
{
    if (const char *reason = impossible(fault, phase))
        return std::string("*") + reason + "*";
    double told = -1;
    double back = -1;
    Verdict verdict = Verdict::green;
    std::size_t cells = 0;
    for (const auto &[cell, found, outcome] : results) {
        if (cell.fault != &fault || cell.phase != phase)
            continue;
        ++cells;
        told = std::max(told, outcome.told);
        back = std::max(back, outcome.back);
        verdict = std::max(verdict, found);
    }
    static constexpr const char *kMarks[] = {"", " (second try)", " **known**", " **red**"};
    return cells == 0 ? "not run" : number(told) + " / " + number(back) + kMarks[static_cast<std::size_t>(verdict)];
}

} // namespace

std::string line(const Result &result)
{
    static constexpr const char *kWords[] = {"green   ", "unsteady", "known   ", "RED     "};
    const Outcome &outcome = result.outcome;
    std::string text = std::string(kWords[static_cast<std::size_t>(result.verdict)]) + " " + name(result.cell) +
                       ": told " + number(outcome.told) + " s, back " + number(outcome.back) + " s";
    if (!outcome.met)
        text += "; no occasion";
    if (!outcome.wrong.empty())
        text += "; " + outcome.wrong;
    if (result.verdict == Verdict::known)
        text += std::string(" (") + known_red(result.cell, outcome.wrong) + ")";
    return text;
}

std::string sum(const std::vector<Result> &results)
{
    return std::to_string(results.size()) + " cells: " + std::to_string(count(results, Verdict::green)) + " green, " +
           std::to_string(count(results, Verdict::unsteady)) + " green at another try, " +
           std::to_string(count(results, Verdict::known)) + " red for a known reason, " +
           std::to_string(count(results, Verdict::red)) + " red";
}

std::string page(const std::vector<Result> &results, std::uint64_t seed)
{
    std::string text = "# Reliability\n\n"
                       "Written by `make campaign` with seed " +
                       std::to_string(seed) +
                       "; do not edit. Every fault of the simulated board in every phase of the camera's\n"
                       "life, once, for 1 s and until it is cleared, against the real programs (`tests/campaign/`).\n\n"
                       "A field has two numbers, the worst of the three durations, in seconds of the camera: until "
                       "`ptzd` told of the\nfault (`-`: there was nothing to tell), and from the fault's end until "
                       "the camera ran and its next move had arrived.\nBounds of the second: ";
    const FaultClass plain{.fault = ""};
    for (std::size_t i = 0; i < kPhases; ++i) {
        const auto phase = static_cast<Phase>(i);
        text += std::string(i == 0 ? "" : ", ") + text_of(phase) + " " + number(bound({&plain, phase, {}}, 1)) + " s";
    }
    text += ".\n\n" + sum(results) + ".\n\n| fault |";
    for (std::size_t i = 0; i < kPhases; ++i)
        text += std::string(" ") + text_of(static_cast<Phase>(i)) + " |";
    text += "\n|---|---|---|---|---|---|\n";
    for (const FaultClass &fault : fault_classes()) {
        text += std::string("| `") + fault.fault + "` |";
        for (std::size_t i = 0; i < kPhases; ++i)
            text += " " + worst(results, fault, static_cast<Phase>(i)) + " |";
        text += "\n";
    }
    for (const Verdict verdict : {Verdict::red, Verdict::known, Verdict::unsteady}) {
        if (count(results, verdict) == 0)
            continue;
        static constexpr const char *kTitles[] = {"", "Green at another try", "Red for a known reason", "Red"};
        text += std::string("\n## ") + kTitles[static_cast<std::size_t>(verdict)] + "\n\n";
        for (const Result &result : results) {
            if (result.verdict == verdict)
                text += "- " + line(result).substr(9) + "\n";
        }
    }
    return text;
}
