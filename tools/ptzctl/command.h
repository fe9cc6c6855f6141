// What every command of ptzctl has, and what it works with.
#pragma once

#include "arguments.h"
#include "failure.h"
#include "service.h"

#include <memory>
#include <string>
#include <vector>

// What a command works with: the service, connected on first need, and the one way to write.
class Context {
  public:
    Context(bool json, double timeout_s) : json_(json), timeout_s_(timeout_s) {}

    bool json() const { return json_; }
    Service &service();

    // Writes a line for the person, or one JSON object for the machine (takes a floating `object` over). Both throw
    // Failure when standard output does not take it; when nobody reads it any more, the program ends as others do then,
    // by SIGPIPE.
    void line(const std::string &text);
    void object(GVariant *object);
    // From now on lines are written when there are many, or by flush(), which throws as they do.
    void hold_back() { holds_back_ = true; }
    void flush();
    // The object {"KEY": value}.
    void object_of(const char *key, GVariant *value);
    // A list of texts: each on its line, or {"KEY": [...]}.
    void texts(const char *key, const GVariantOwned &list);
    // Rows of cells, in columns that fit the terminal.
    void table(const std::vector<std::vector<std::string>> &rows);
    // What a command without results says: `text`, or {"ok":true}.
    void done(const std::string &text);

  private:
    bool json_;
    double timeout_s_;
    bool holds_back_ = false;
    std::unique_ptr<Service> service_;
};

// printf into a std::string.
std::string format_text(const char *format, ...) __attribute__((format(printf, 1, 2)));

// What a status says of the last firmware upgrade, in a line for the person; empty when there was none.
std::string upgrade_text(GVariant *status);

// The whole program: `words` are the command line's words after the program's name. Returns the exit status.
int run_ptzctl(std::vector<std::string> words);
