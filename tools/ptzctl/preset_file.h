// Lists of presets, as the bus has them and as JSON in files:
//   {"presets": [{"name": "Door", "position": {"pan": 10.5}, "settings": {"ImageSource.WDR": "on"}}]}
#pragma once

#include "service.h"

#include <string>
#include <string_view>

// Of the service, a(sa{sd}a{ss}): name, places by axis, values by GROUP.NAME.
GVariantOwned list_presets(Service &service);

// The list as JSON has it: aa{sv} with "name", "position" and "settings".
GVariantOwned preset_objects(GVariant *list);
// The list as a file has it, with its last newline: for people, or on a line.
std::string presets_json(GVariant *list, bool on_a_line = false);

// The reverse. Throws Failure (EXIT_REFUSED), which names the file and what is wrong in it, when it is none.
GVariantOwned presets_from_json(const std::string &json, const std::string &file);

// What a file has, "-": standard input. Throws Failure when that cannot be read, or is longer than any list.
std::string read_preset_file(const std::string &file);
