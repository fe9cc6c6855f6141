// 'ptzctl drive' where its libraries are not there.
#include "command.h"

ExitStatus run_drive(Context &, const Arguments &)
{
    throw Failure(EXIT_REFUSED, "NotSupported", "this ptzctl was built without ncurses and libevdev");
}
