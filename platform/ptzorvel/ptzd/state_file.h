// Small key files that outlive the process, in the state folder: each is whole, or as it was before, whatever ends the
// process or takes the power away.
#pragma once

#include "glib_owned.h"

#include <string>

// The key file of that name; null when there is none, and when it cannot be had: then `problem` says so, as a sentence
// without its full stop.
GKeyFileOwned read_state_file(const std::string &folder, const std::string &name, std::string &problem);

// Puts the text in the place of the former one, in a folder that is made when it is not there; back when it would
// outlive a loss of power. Waits for the disk. A sentence when that could not be done: mostly the former one is then
// still there, but after a failure of the disk's the new one may be.
std::string write_state_file(const std::string &folder, const std::string &name, const std::string &text);

// Removes what writers of the file that were killed have left in the folder.
void remove_stray_state_files(const std::string &folder, const std::string &name);
