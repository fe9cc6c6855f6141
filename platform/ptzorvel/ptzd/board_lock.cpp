#include "ptzorvel/ptzd/board_lock.h"

#include "clean_text.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <glib.h>
#include <sys/file.h>
#include <syslog.h>
#include <unistd.h>

namespace {

constexpr std::size_t LONGEST_NOTE = 1024;

// Only its owner may open it: whoever can, can lock it.
int open_lock(const std::string &folder, const std::string &name)
{
    return open((folder + "/" + name).c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0600);
}

// The first folder that can be written; a board keeps nothing of it over a restart.
int open_board_lock(const std::string &name)
{
    if (const char *board = g_getenv("PTZ_BOARD"); board != nullptr && *board != '\0')
        return open_lock(board, name);
    g_mkdir_with_parents("/run/ptz", 0755); // what is wrong with it shows when the file is opened
    const int fd = open_lock("/run/ptz", name);
    return fd >= 0 ? fd : open_lock("/run/lock", name);
}

std::string note_of(int fd)
{
    char note[LONGEST_NOTE];
    const ssize_t size = pread(fd, note, sizeof note, 0);
    return size > 0 ? printable(std::string_view(note, static_cast<std::size_t>(size))) : "another process";
}

// A note that cannot be written is missing from a message, no more.
void write_note(int fd, const std::string &bus)
{
    const std::string note = ("process " + std::to_string(getpid()) + " on the bus " + bus).substr(0, LONGEST_NOTE);
    if (ftruncate(fd, 0) != 0 || pwrite(fd, note.data(), note.size(), 0) < 0)
        syslog(LOG_WARNING, "Cannot say in the lock of the board who has it: %s", std::strerror(errno));
}

} // namespace

BoardLock::BoardLock(int channel, int id)
    : name_("ptzd-" + std::to_string(channel) + "-" + std::to_string(id) + ".lock")
{
}

BoardLock::~BoardLock()
{
    if (fd_ >= 0)
        close(fd_);
}

bool BoardLock::take(const std::string &bus, std::string &problem)
{
    fd_ = open_board_lock(name_);
    const bool locked = fd_ >= 0 && flock(fd_, LOCK_EX | LOCK_NB) == 0;
    if (fd_ >= 0 && !locked && errno == EWOULDBLOCK) {
        problem = "A PTZ service (com.orna.PTZ) runs this board already: " + note_of(fd_) +
                  ". Stop that one first, or talk to it over its bus.";
        return false;
    }
    if (locked)
        write_note(fd_, bus);
    else
        syslog(LOG_WARNING, "Nothing keeps a second PTZ service from this board: %s: %s", name_.c_str(),
               std::strerror(errno));
    return true;
}
