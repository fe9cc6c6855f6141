#include "ptzorvel/ptzd/state_keeper.h"

#include "ptzorvel/ptzd/state_file.h"

#include <syslog.h>
#include <utility>

StateKeeper::StateKeeper(std::string folder, std::string name, std::string what)
    : folder_(std::move(folder)), name_(std::move(name)), what_(std::move(what))
{
}

StateKeeper::~StateKeeper()
{
    {
        const std::lock_guard lock(mutex_);
        closing_ = true;
    }
    changed_.notify_one();
    if (thread_.joinable())
        thread_.join();
}

void StateKeeper::save(std::string text, Done done)
{
    const std::lock_guard lock(mutex_);
    latest_ = std::move(text);
    if (done)
        waiting_.push_back(std::move(done));
    if (!thread_.joinable())
        thread_ = std::thread(&StateKeeper::loop, this);
    changed_.notify_one();
}

void StateKeeper::loop()
{
    std::unique_lock lock(mutex_);
    while (true) {
        changed_.wait(lock, [this] { return latest_ || closing_; });
        if (!latest_)
            return;
        const std::string text = *std::exchange(latest_, std::nullopt);
        const std::vector<Done> served = std::exchange(waiting_, {});
        lock.unlock();
        const std::string problem = write(text);
        for (const Done &done : served)
            done(problem);
        lock.lock();
    }
}

std::string StateKeeper::write(const std::string &text)
{
    if (safe_ == text)
        return "";
    std::string problem = write_state_file(folder_, name_, text);
    safe_ = problem.empty() ? std::optional(text) : std::nullopt;
    if (!problem.empty() && problem != told_)
        syslog(LOG_WARNING, "%s are not kept: %s", what_.c_str(), problem.c_str());
    told_ = problem;
    return problem;
}
