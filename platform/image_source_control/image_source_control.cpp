#include "image_source_control/image_source_control.h"
#include "image_source_control/image_source_control_read.h"

#include <atomic>

// A handle carries nothing: there is one picture.
struct _ImageSourceControl {
    char unused;
};

namespace {

std::atomic<bool> picture_blanked{false};
std::atomic<bool> picture_frozen{false};
std::atomic<int> handles{0};

gboolean set_picture(const ImageSourceControl *control, std::atomic<bool> &what, gboolean on)
{
    if (control == nullptr)
        return FALSE;
    what = on != FALSE;
    return TRUE;
}

} // namespace

ImageSourceControl *image_source_control_init(void)
{
    handles++;
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
