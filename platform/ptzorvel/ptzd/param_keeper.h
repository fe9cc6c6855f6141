// Keeps parameters in a file without anybody having to wait for the disk: a thread of its own writes, one write at a
// time; of what comes meanwhile only the latest is written.
#pragma once

#include "ptzorvel/common/param_store.h"

#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

class ParamKeeper {
  public:
    // Called on the keeper's thread: empty when the values are safe, else why not, as a sentence.
    using Done = std::function<void(const std::string &problem)>;

    // An empty folder keeps nothing, with success.
    explicit ParamKeeper(std::string folder);
    // Waits until what was to be kept is, or has failed.
    ~ParamKeeper();
    ParamKeeper(const ParamKeeper &) = delete;
    ParamKeeper &operator=(const ParamKeeper &) = delete;

    // Gives the store what is kept, after removing what former writers have left behind.
    void load(ParamStore &store);
    // Keeps what the store has now. Any thread; `done` may be empty. Failures are logged, each once in a row.
    void save(const ParamStore &store, Done done);

  private:
    void loop();
    std::string write(const std::string &text);

    const std::string folder_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::optional<std::string> latest_; // under the mutex, as the next two
    std::vector<Done> waiting_;
    bool closing_ = false;
    std::optional<std::string> safe_; // what the file says, when that is known; the keeper's thread, but for load()
    std::string told_;                // the failure that was logged last; the keeper's thread
    std::thread thread_;
};
