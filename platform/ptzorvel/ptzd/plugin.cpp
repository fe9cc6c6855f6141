#include "ptzorvel/ptzd/plugin.h"

#include <cerrno>
#include <cstring>
#include <dlfcn.h>
#include <unistd.h>

PTZDriverNewFunc load_plugin(const std::string &file, std::string &problem)
{
    if (access(file.c_str(), R_OK) != 0) {
        problem = "Cannot read the plug-in " + file + ": " + std::strerror(errno) + ". Name it with --plugin FILE.";
        return nullptr;
    }
    // dlopen looks names without a slash up in the system's folders.
    const std::string path = file.find('/') == std::string::npos ? "./" + file : file;
    void *handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    if (handle == nullptr) {
        problem = std::string("Cannot load the plug-in: ") + dlerror();
        return nullptr;
    }
    void *symbol = dlsym(handle, "ptz_driver_new");
    if (symbol == nullptr)
        problem = file + " is not a PTZ driver plug-in: it has no function ptz_driver_new.";
    return reinterpret_cast<PTZDriverNewFunc>(symbol);
}
