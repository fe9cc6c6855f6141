// What is wrong in the configuration files, for a host that tells people. Nothing of it changes what the driver reads.
#pragma once

#include <string>
#include <vector>

struct ConfigReport {
    // What a file names that only the host can look for, and where: "FILE:LINE", the key, the name.
    struct Named {
        std::string place;
        std::string key;
        std::string name;
    };
    // A line each: "FILE:LINE: error: ..." for what keeps the driver from reading the file to its end, or from using
    // what it has read; "FILE:LINE: warning: ..." for what it takes no notice of or makes up. Without ":LINE" where the
    // fault is of the whole file.
    std::vector<std::string> problems;
    std::vector<Named> lines;   // GPIO lines that are given by name
    std::vector<Named> devices; // SPI devices
};

// Reads both files anew, from the configuration folder.
ConfigReport ptz_driver_canon_check_config();
