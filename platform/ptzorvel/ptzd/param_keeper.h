// Keeps parameters over restarts of the service (param_file.h), written by a thread that nobody waits for.
#pragma once

#include "ptzorvel/common/param_store.h"
#include "ptzorvel/ptzd/state_keeper.h"

#include <string>

class ParamKeeper {
  public:
    using Done = StateKeeper::Done;

    // An empty folder keeps nothing, with success.
    explicit ParamKeeper(const std::string &folder);

    // Gives the store what is kept, after removing what former writers have left behind.
    void load(ParamStore &store);
    // Keeps what the store has now. Any thread; `done` may be empty.
    void save(const ParamStore &store, Done done);

  private:
    StateKeeper keeper_;
};
