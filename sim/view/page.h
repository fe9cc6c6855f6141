// The page's files, which are within the program.
#pragma once

#include <string_view>

namespace sim::view {

struct PageFile {
    std::string_view path; // as asked for: "/", "/view.css"
    std::string_view type;
    std::string_view content;
};

// None has that path: null.
const PageFile *find_page_file(std::string_view path);

} // namespace sim::view
