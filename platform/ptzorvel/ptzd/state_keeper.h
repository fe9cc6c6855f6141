// Keeps a text in a state file without anybody having to wait for the disk: a thread of its own writes, one write at a
// time; of what comes meanwhile only the latest is written.
#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

class StateKeeper {
  public:
    // Called on the keeper's thread: empty when the text is safe, else why not, as a sentence.
    using Done = std::function<void(const std::string &problem)>;

    // The file `name` in that folder; an empty folder keeps nothing, with success. `what` begins the message of a
    // failure: "Parameters".
    StateKeeper(std::string folder, std::string name, std::string what);
    // Waits until what was to be kept is, or has failed.
    ~StateKeeper();
    StateKeeper(const StateKeeper &) = delete;
    StateKeeper &operator=(const StateKeeper &) = delete;

    const std::string &folder() const { return folder_; }
    // What the file is known to say, which is not written again. Before the first save().
    void is_safe(std::string text) { safe_ = std::move(text); }
    // Any thread; `done` may be empty. Failures are logged, each once in a row.
    void save(std::string text, Done done);

  private:
    void loop();
    std::string write(const std::string &text);

    const std::string folder_, name_, what_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::optional<std::string> latest_; // under the mutex, as the next two
    std::vector<Done> waiting_;
    bool closing_ = false;
    std::optional<std::string> safe_; // what the file says, when that is known; the keeper's thread, but for is_safe()
    std::string told_;                // the failure that was logged last; the keeper's thread
    std::thread thread_;
};
