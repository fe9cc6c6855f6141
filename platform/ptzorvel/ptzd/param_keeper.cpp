#include "ptzorvel/ptzd/param_keeper.h"

#include "ptzorvel/ptzd/param_file.h"

#include <syslog.h>
#include <utility>

ParamKeeper::ParamKeeper(std::string folder) : folder_(std::move(folder))
{
}

ParamKeeper::~ParamKeeper()
{
    {
        const std::lock_guard lock(mutex_);
        closing_ = true;
    }
    changed_.notify_one();
    if (thread_.joinable())
        thread_.join();
}

void ParamKeeper::load(ParamStore &store)
{
    remove_stray_params(folder_);
    load_params(folder_, store);
    safe_ = params_text(store);
}

void ParamKeeper::save(const ParamStore &store, Done done)
{
    std::string text = params_text(store);
    const std::lock_guard lock(mutex_);
    latest_ = std::move(text);
    if (done)
        waiting_.push_back(std::move(done));
    if (!thread_.joinable())
        thread_ = std::thread(&ParamKeeper::loop, this);
    changed_.notify_one();
}

void ParamKeeper::loop()
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

std::string ParamKeeper::write(const std::string &text)
{
    if (safe_ == text)
        return "";
    std::string problem = write_params(folder_, text);
    safe_ = problem.empty() ? std::optional(text) : std::nullopt;
    if (!problem.empty() && problem != told_)
        syslog(LOG_WARNING, "Parameters are not kept: %s", problem.c_str());
    told_ = problem;
    return problem;
}
