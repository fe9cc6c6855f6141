// A configuration file read for its faults: which key stands on which line, and whether its value is of the key's kind.
#pragma once

#include "driver/config_check.h"
#include "driver/config_keys.h"
#include "glib_owned.h"

#include <map>
#include <optional>

// What a key of a group may be.
struct ConfigRule {
    const char *name;
    ConfigKind kind;
    bool required;
    // Whether the driver stops at a value that is none, instead of going on with a default.
    bool strict;
    // Of numbers; nothing is said of them where both are 0. Whether the driver cannot work with others.
    double lowest;
    double highest;
    bool strict_range;
};

class ConfigFile {
  public:
    // Faults go to `report`, which outlives this.
    ConfigFile(const char *name, ConfigReport &report);

    // False when the file cannot be read at all, which has been told.
    bool load();

    bool has(const std::string &group) const { return groups_.contains(group); }
    bool has(const char *group, const char *key) const;
    // Tells what is wrong in a group. One that is missing has all required keys missing.
    void check(const char *group, const std::vector<ConfigRule> &rules);
    // Tells which groups are none of these.
    void check_groups(const std::vector<std::string> &known);
    // The value of a number that has been checked; none when it is not there or no number.
    std::string text(const std::string &group, const char *key) const; // empty: none
    std::optional<double> number(const char *group, const char *key) const;

    // "FILE:LINE" of a key, or of its group's head.
    std::string place(const std::string &group, const std::string &key) const;
    void error(const char *group, const char *key, const std::string &text) { tell("error", place(group, key), text); }
    void warning(const char *group, const char *key, const std::string &text)
    {
        tell("warning", place(group, key), text);
    }

  private:
    struct Group {
        int line;
        std::map<std::string, int> keys; // with the line of each
    };

    void read_lines(const std::string &text);
    void tell(const char *weight, const std::string &place, const std::string &text);
    std::string at(int line) const { return path_ + ":" + std::to_string(line); }
    void check_value(const char *group, const ConfigRule &rule);
    void check_range(const char *group, const ConfigRule &rule, double value);

    const std::string path_;
    ConfigReport &report_;
    const GKeyFileOwned file_;
    std::map<std::string, Group> groups_;
    bool readable_ = true;
};
