// Keeps a file with the metrics, as a whole whoever reads it when.
#pragma once

#include <gio/gio.h>

#include <functional>
#include <string>

class MetricsFile {
  public:
    // Writes what `text` returns (main thread) every ten seconds from now on and once more at the end. No file with an
    // empty `path`. A file that cannot be written is told in the log, once in a row; the disk is waited for elsewhere.
    MetricsFile(std::string path, std::function<std::string()> text);
    ~MetricsFile();
    MetricsFile(const MetricsFile &) = delete;
    MetricsFile &operator=(const MetricsFile &) = delete;

  private:
    struct Write;

    void begin();
    static void write(GTask *task, gpointer source, gpointer data, GCancellable *cancel);
    void told(const std::string &problem);

    const std::string path_;
    const std::function<std::string()> text_;
    guint timer_ = 0;
    bool writing_ = false;
    std::string problem_; // the last that was told
};
