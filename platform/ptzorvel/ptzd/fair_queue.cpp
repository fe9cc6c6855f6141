#include "ptzorvel/ptzd/fair_queue.h"

#include <algorithm>
#include <iterator>
#include <utility>

void FairQueue::post(const std::string &client, Work work)
{
    {
        const std::lock_guard lock(mutex_);
        if (closed_)
            return; // the caller's hands destroy the work, after the lock
        lane_of(client)->works.push_back(std::move(work));
        if (std::exchange(waiting_, true))
            return;
    }
    carry_on();
}

void FairQueue::left(const std::string &client)
{
    std::deque<Work> dropped; // destroyed after the lock
    const std::lock_guard lock(mutex_);
    const auto lane =
        std::find_if(lanes_.begin(), lanes_.end(), [&](const Lane &each) { return each.client == client; });
    if (lane == lanes_.end())
        return;
    dropped = std::move(lane->works);
    lanes_.erase(lane);
    std::deque<Work> &gone = lane_of("")->works;
    while (!dropped.empty() && gone.size() < kMostOfGone) {
        gone.push_back(std::move(dropped.front()));
        dropped.pop_front();
    }
}

void FairQueue::close()
{
    Lanes dropped; // destroyed after the lock
    const std::lock_guard lock(mutex_);
    closed_ = true;
    dropped.swap(lanes_);
}

FairQueue::Lanes::iterator FairQueue::lane_of(const std::string &client)
{
    const auto found =
        std::find_if(lanes_.begin(), lanes_.end(), [&](const Lane &lane) { return lane.client == client; });
    return found != lanes_.end() ? found : lanes_.insert(lanes_.end(), Lane{client, {}});
}

void FairQueue::carry_on()
{
    queue_.post([this] { run_next(); });
}

void FairQueue::run_next()
{
    Work work;
    bool more = false;
    {
        const std::lock_guard lock(mutex_);
        if (!lanes_.empty()) {
            Lane &lane = lanes_.front();
            work = std::move(lane.works.front());
            lane.works.pop_front();
            if (lane.works.empty())
                lanes_.pop_front();
            else
                lanes_.splice(lanes_.end(), lanes_, lanes_.begin());
        }
        more = waiting_ = !lanes_.empty();
    }
    // Behind what the driver has queued meanwhile.
    if (more)
        carry_on();
    if (work)
        work();
}
