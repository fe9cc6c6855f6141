// Keeps a file with the metrics, as a whole whoever reads it when.
#pragma once

#include <gio/gio.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>

class MetricsFile {
  public:
    // Writes what `text` returns (main thread) every ten seconds from now on and once more at the end, which waits for
    // the disk no longer than `patience`. No file with an empty `path`. A file that cannot be written is told in the
    // log, once in a row.
    MetricsFile(std::string path, std::function<std::string()> text,
                std::chrono::milliseconds patience = std::chrono::seconds(2));
    ~MetricsFile();
    MetricsFile(const MetricsFile &) = delete;
    MetricsFile &operator=(const MetricsFile &) = delete;

  private:
    struct Disk;
    struct Write;

    void begin();
    static void write(GTask *task, gpointer source, gpointer data, GCancellable *cancel);

    const std::string path_;
    const std::function<std::string()> text_;
    const std::chrono::milliseconds patience_;
    const std::shared_ptr<Disk> disk_; // with the thread that writes, which may be in it for longer than this lives
    guint timer_ = 0;
};
