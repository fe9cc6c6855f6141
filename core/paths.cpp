#include "core/paths.h"

#include <cstdlib>

std::string data_path(const char *file)
{
    const char *folder = std::getenv("PTZ_DATA_DIR");
    std::string path = folder != nullptr && *folder != '\0' ? folder : "/usr/share/ptz";
    return path.append("/").append(file);
}
