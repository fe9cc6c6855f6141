// The last firmware upgrade, kept over restarts in DIR/upgrade.conf, and which image has failed too often to be tried
// again. Any thread.
#pragma once

#include "ptzorvel/ptzd/driver_host.h"

#include <mutex>
#include <string>

class UpgradeLog {
  public:
    // Reads what is kept in that folder, after removing what former writers have left behind; empty: nothing is kept.
    explicit UpgradeLog(const std::string &folder);

    // An upgrade has ended; `counts`: it was not the service's own end that cut it off. Keeps it, which waits
    // for the disk, and says in the log when its image will not be tried again. One of an image that is held back is
    // none.
    void ended(const ImageReport &report, bool counts);
    // The camera block tells that version: where it is the image's, the upgrade is done after all.
    void seen(const std::string &version);
    // The image that has failed three times in a row, by its id; empty when there is none. Forgotten when somebody
    // asks.
    std::string held_image() const;
    void forget_failures();

    // "from", "to", "when", "result" and "held" of the last upgrade, floating; null when there was none.
    GVariant *variant() const;

  private:
    void save() const;

    const std::string folder_;
    mutable std::mutex mutex_;
    ImageReport last_; // all under the mutex
    gint64 when_ = 0;  // seconds since 1970
    int failures_ = 0; // of its image, in a row
};
