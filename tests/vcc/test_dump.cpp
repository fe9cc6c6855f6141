// The status store as text: every character of a dump, and the file it goes to.
#include "tests/support/capture.h"
#include "tests/support/temp_folder.h"
#include "tests/support/virtual_clock.h"
#include "vcc/dump.h"
#include "vcc/status.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <sys/resource.h>
#include <sys/stat.h>
#include <vector>

namespace {

namespace fs = std::filesystem;

class Dump : public testing::Test {
  protected:
    Dump() { vccif_clear_status(); }
    ~Dump() override { vccif_clear_status(); }

    // A block whose byte at each offset from 4 is that offset.
    static void receive(guint8 tag, unsigned length)
    {
        std::vector<guint8> block = {tag, 0x5A, 0x00, static_cast<guint8>(length)};
        for (unsigned offset = 4; offset < length + 4; ++offset)
            block.push_back(static_cast<guint8>(offset));
        vccif_append_data(block.data(), static_cast<unsigned>(block.size()));
    }

    bool dump(const char *name) const { return vccif_dump_status_to_file(folder.file(name).c_str()); }

    TempFolder folder;
    VirtualClock clock;
    LogCapture log;
};

// The camera block ends before most of its fields, which show what its buffer holds; the revision block claims more
// than it may have.
const std::string whole_dump =
    "TAG f8 Status now: 1000000000\n"
    "Len = 60  \n\n"
    "xxx +  00 01 02 03 04 05 06 07  08 09 0A 0B 0C 0D 0E 0F \n"
    "000 |  f8 5a 00 3c 04 05 06 07  08 09 0a 0b 0c 0d 0e 0f\n"
    "010 |  10 11 12 13 14 15 16 17  18 19 1a 1b 1c 1d 1e 1f\n"
    "020 |  20 21 22 23 24 25 26 27  28 29 2a 2b 2c 2d 2e 2f\n"
    "030 |  30 31 32 33 34 35 36 37  38 39 3a 3b 3c 3d 3e 3f\n"
    " *************************** 322 byte write\n"
    "TAG e0 Status now: 1000000000\n"
    "Len = 64  \n\n"
    "xxx +  00 01 02 03 04 05 06 07  08 09 0A 0B 0C 0D 0E 0F \n"
    "000 |  e0 5a 00 40 04 05 06 07  08 09 0a 0b 0c 0d 0e 0f\n"
    "010 |  10 11 12 13 14 15 16 17  18 19 1a 1b 1c 1d 1e 1f\n"
    "020 |  20 21 22 23 24 25 26 27  28 29 2a 2b 2c 2d 2e 2f\n"
    "030 |  30 31 32 33 34 35 36 37  38 39 3a 3b 3c 3d 3e 3f\n"
    "040 |  40 41 42 43\n"
    " *************************** 341 byte write\n"
    "TAG 60 Status now: 1000000000\n"
    "Len = 33  \n\n"
    "xxx +  00 01 02 03 04 05 06 07  08 09 0A 0B 0C 0D 0E 0F \n"
    "000 |  60 5a 00 21 04 05 06 07  08 09 0a 0b 0c 0d 0e 0f\n"
    "010 |  10 11 12 13 14 15 16 17  18 19 1a 1b 1c 1d 1e 1f\n"
    "020 |  20 21 22 23 24\n"
    " *************************** 232 byte write\n"
    "TAG 40 Status now: 1000000000\n"
    "Invalid status  Len = 32  \n\n"
    "xxx +  00 01 02 03 04 05 06 07  08 09 0A 0B 0C 0D 0E 0F \n"
    "000 |  40 5a 00 28 04 05 06 07  08 09 0a 0b 0c 0d 0e 0f\n"
    "010 |  10 11 12 13 14 15 16 17  18 19 1a 1b 1c 1d 1e 1f\n"
    " *************************** 226 byte write\n\n\n"
    "Lens Temp.(014):1415 Sensor Temp.(016):1617 NTSC/PAL(01e):1e CameraMode(01c):1c LensSts(01d):1d \n\n"
    "AE:(060):6061 AEZONE:(062):62 Av(067):67 Tv(068):68 Sv(069):69 Brt(079):121 \n"
    "ShutterLim(Min) (084):84 ShutterLim(Max) (085):85 MaxGain:(082):82 \n\n"
    "DayNight stat(090):90 Mode:(091):91 Thres:(092):92 \n\n"
    "Color:(0d2):d2 WB:(0d0):d0 WB R Gain:(0c0):c0c1 WB B Gain:(0c2):c2c3 \n\n"
    "PTSts(004):04 \n"
    "PanPos (010):10111213 \n"
    "TiltPos(020):20212223 \n"
    "PanSpd (030):30313233 \n"
    "TiltSpd(040):40414243 \n"
    "FocusPos:(022):2223 \n"
    "OZoomPos:(040):4041 \n"
    "DZoomPos:(050):5051 \n"
    "ZoomSpd:(048):48 \n"
    "FocusSpd:(02b):2b \n\n"
    "Camera Block Model ID 1:(01c):1c1d \n"
    "NTSC/PAL(01e):1e Capture Framerate(022):22 Video Format(021):21 Video Scan Type(023):23 Temperature 1:(010):1011 "
    "\n"
    "Temperature 2:(012):1213 \n\n"
    "FW Revision:(004):04050607 \n"
    "SubSystem Revision:(008):08090a0b \n\n\n"
    "[EOF]\n";

TEST_F(Dump, ShowsEveryBlockAndField)
{
    receive(0xF8, 60);
    for (unsigned offset = 64; offset < 212; ++offset)
        vccif_get_status_entry(0xF8)->buffer[offset] = static_cast<guint8>(offset);
    receive(0xE0, 64);
    receive(0x60, 33);
    receive(0x40, 40);
    folder.write("log", std::string(9000, 'x')); // what was there before does not show through
    EXPECT_TRUE(dump("log"));
    EXPECT_EQ(folder.read("log"), whole_dump);
}

TEST_F(Dump, AnEmptyStoreHasItsTitlesAndZeroes)
{
    char text[VCCIF_DUMP_SIZE];
    EXPECT_EQ(vccif_dump_status(text, 3, 0xE0), 100);
    EXPECT_STREQ(text + 3, "TAG e0 Status now: 1000000000\nNo status data (Len = 0)\n\n"
                           "\n *************************** 56 byte write\n");
    EXPECT_EQ(vccif_dump_status(text, 0, 0x10), -1);
    EXPECT_EQ(log.take(), Lines{"error: Unknown status tag"});
    EXPECT_FALSE(vccif_dump_status_to_file(nullptr));
    EXPECT_EQ(log.take(), Lines{guard_line("vccif_dump_status_to_file", "filename")});
}

TEST_F(Dump, WritesNothingButAFileOfItsOwn)
{
    folder.write("precious", "precious");
    fs::create_symlink(folder.file("precious"), folder.file("link"));
    fs::create_hard_link(folder.file("precious"), folder.file("twin"));
    fs::create_symlink(folder.file("new"), folder.file("dangling"));
    fs::create_directory(folder.file("directory"));
    mkfifo(folder.file("pipe").c_str(), 0600);
    for (const char *name : {"link", "twin", "dangling", "directory", "pipe", "missing/log", ""})
        EXPECT_FALSE(dump(name)) << name;
    EXPECT_EQ(folder.read("precious"), "precious");
    EXPECT_FALSE(fs::exists(folder.file("new")));

    // As on a full disk: writing stops in the middle.
    const auto previous = std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    const rlimit full{100, limit.rlim_max};
    setrlimit(RLIMIT_FSIZE, &full);
    EXPECT_FALSE(dump("log"));
    setrlimit(RLIMIT_FSIZE, &limit);
    std::signal(SIGXFSZ, previous);
    EXPECT_TRUE(dump("log"));
}

} // namespace
