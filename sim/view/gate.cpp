#include "sim/view/gate.h"

#include <algorithm>
#include <charconv>

namespace sim::view {
namespace {

struct Where {
    std::string host;
    std::string_view port; // empty: none
};

// Takes the brackets off an address that has colons in it.
Where split(std::string_view where)
{
    if (where.starts_with('[')) {
        const std::size_t end = std::min(where.find(']'), where.size());
        const std::string_view rest = where.substr(std::min(end + 1, where.size()));
        return {std::string(where.substr(1, end - 1)), rest.starts_with(':') ? rest.substr(1) : rest};
    }
    const std::size_t colon = where.rfind(':');
    if (colon == std::string_view::npos || where.find(':') != colon)
        return {std::string(where), {}};
    return {std::string(where.substr(0, colon)), where.substr(colon + 1)};
}

} // namespace

GSocketAddress *parse_address(const std::string &where)
{
    const auto [host, port] = split(where.empty() ? std::string_view("127.0.0.1") : where);
    guint16 number = 0;
    const auto [end, error] = std::from_chars(port.data(), port.data() + port.size(), number);
    if (!port.empty() && (error != std::errc{} || end != port.data() + port.size()))
        return nullptr;
    return g_inet_socket_address_new_from_string(host.empty() ? "" : host.c_str(), number);
}

bool is_own_host(std::string_view host)
{
    const std::string name = split(host).host;
    return name == "localhost" || g_hostname_is_ip_address(name.c_str()) || name == g_get_host_name();
}

bool is_own_origin(const char *origin, std::string_view host)
{
    return origin && std::string_view(origin) == "http://" + std::string(host);
}

bool is_one_line(std::string_view line)
{
    return std::all_of(line.begin(), line.end(), [](char letter) { return letter >= ' ' && letter < '\x7F'; });
}

} // namespace sim::view
