#include "image_source_control/image_source_control.h"
#include "image_source_control/image_source_control_read.h"

#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <unistd.h>

// A handle carries nothing: there is one picture.
struct _ImageSourceControl {
    char unused;
};

namespace {

std::atomic<bool> picture_blanked{false};
std::atomic<bool> picture_frozen{false};
std::atomic<int> handles{0};

// A simulated board shows its picture: what becomes of it here is in a file of its folder, always as long, so that
// nobody reads half of it. Without such a board, or without its leave, nothing is told.
void tell_board()
{
    const char *board = std::getenv("PTZ_BOARD");
    if (board == nullptr)
        return;
    const int file = open((std::string(board) + "/picture").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0660);
    if (file < 0)
        return;
    std::array<char, 32> line{};
    const int length = std::snprintf(line.data(), line.size(), "blanked=%d frozen=%d\n", picture_blanked.load(),
                                     picture_frozen.load());
    [[maybe_unused]] const ssize_t written = pwrite(file, line.data(), static_cast<std::size_t>(length), 0);
    close(file);
}

gboolean set_picture(const ImageSourceControl *control, std::atomic<bool> &what, gboolean on)
{
    if (control == nullptr)
        return FALSE;
    if (what.exchange(on != FALSE) != (on != FALSE))
        tell_board();
    return TRUE;
}

} // namespace

ImageSourceControl *image_source_control_init(void)
{
    // What a process before this one left there no longer holds.
    if (handles++ == 0)
        tell_board();
    return new ImageSourceControl{};
}

gboolean image_source_control_set_no_video(ImageSourceControl *control, gboolean no_video)
{
    return set_picture(control, picture_blanked, no_video);
}

gboolean image_source_control_freeze_video(ImageSourceControl *control, gboolean freeze)
{
    return set_picture(control, picture_frozen, freeze);
}

void image_source_control_free(ImageSourceControl *control)
{
    if (control == nullptr)
        return;
    handles--;
    delete control;
}

void image_source_control_read(gboolean *blanked, gboolean *frozen)
{
    *blanked = picture_blanked;
    *frozen = picture_frozen;
}

int image_source_control_handles(void)
{
    return handles;
}
