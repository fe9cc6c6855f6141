// Who may ask for the page, and where it is.
#pragma once

#include <gio/gio.h>
#include <string>
#include <string_view>

namespace sim::view {

// "ADDRESS:PORT", "[ADDRESS]:PORT", an address alone (a free port), or nothing: 127.0.0.1. The caller owns what it
// gets; null when it is none of these.
GSocketAddress *parse_address(const std::string &where);

// Whether a request's Host is an address, "localhost" or this machine's name. A name from elsewhere that was made to
// lead here is none.
bool is_own_host(std::string_view host);

// Whether a page of this very host posts: a browser says so in Origin. One without is no browser's.
bool is_own_origin(const char *origin, std::string_view host);

// Whether a command has nothing in it but printable characters.
bool is_one_line(std::string_view line);

} // namespace sim::view
