#include "sim/view/page.h"

#include "view_page.h"

namespace sim::view {
namespace {

constexpr PageFile kFiles[] = {{"/", "text/html; charset=utf-8", kPage_index_html},
                               {"/view.css", "text/css; charset=utf-8", kPage_view_css},
                               {"/view.js", "text/javascript; charset=utf-8", kPage_view_js},
                               {"/parts.js", "text/javascript; charset=utf-8", kPage_parts_js}};

} // namespace

const PageFile *find_page_file(std::string_view path)
{
    for (const PageFile &file : kFiles) {
        if (file.path == path)
            return &file;
    }
    return nullptr;
}

} // namespace sim::view
