// The presets of a service with a recording driver: what may be kept, and what reaches the driver. And the modes read
// back.
#include "image_source_control/image_source_control.h"
#include "image_source_control/image_source_control_read.h"
#include "tests/platform/service_fixture.h"
#include "tests/support/temp_folder.h"

namespace {

using testing::ElementsAre;
using testing::StartsWith;

class PresetsTest : public ServiceTest {
  protected:
    std::string import(unsigned part, unsigned parts, const std::string &list, Client *by = nullptr)
    {
        return (by != nullptr ? *by : client)
            .preset("Import",
                    "(uint32 " + std::to_string(part) + ", uint32 " + std::to_string(parts) + ", false, " + list + ")");
    }
    static std::string one(const std::string &name, const std::string &places = "{'pan': 1.0}",
                           const std::string &settings = "@a{ss} {}")
    {
        return "[('" + name + "', " + places + ", " + settings + ")]";
    }
    std::string list() { return client.preset("List", "()"); }
};

TEST_F(PresetsTest, OfAListAllAreTakenOrNone)
{
    start();
    const std::string longest(64, 'x');
    const std::pair<std::string, const char *> refused[] = {
        {one(""), "InvalidArgument: Preset \"\": A preset needs a name."},
        {one(longest + "x"), "InvalidArgument: Preset \"x"},
        {one("a\\nb"), "InvalidArgument: Preset \"a?b\": name: there are control characters"},
        {one("a", "@a{sd} {}"), "InvalidArgument: Preset \"a\": it has no place of any axis"},
        {one("a", "{'yaw': 1.0}"), "InvalidArgument: Preset \"a\": There is no axis \"yaw\""},
        {one("a", "{'pan': nan}"), "InvalidArgument: Preset \"a\": pan: nan is not a number"},
        {one("a", "{'zoom': 1.5}"), "InvalidArgument: Preset \"a\": zoom: positions are whole numbers"},
        {one("a", "{'tilt': 90.1}"), "OutOfRange: Preset \"a\": tilt: 90.1 is outside -20..90 degrees."},
        {one("a", "{'pan': 1.0}", "{'ImageSource': 'on'}"), "UnknownParameter: Preset \"a\": There is no parameter"},
        {one("a", "{'pan': 1.0}", "{'ImageSource.Defog': 'no'}"), "OutOfRange: Preset \"a\": ImageSource.Defog takes"},
        {one("a", "{'pan': 1.0}", "{'Limit.Status': 'fine'}"),
         "InvalidArgument: Preset \"a\": Limit.Status is reported"},
        {"[('a', {'pan': 1.0}, @a{ss} {}), ('b', {'pan': 500.0}, @a{ss} {})]", "OutOfRange: Preset \"b\": pan: 500"},
    };
    for (const auto &[presets, why] : refused)
        EXPECT_THAT(import(0, 1, presets), StartsWith(why)) << presets;
    for (const char *mark : {"061c", "200e", "200f", "2028", "2029", "202a", "202e", "2066", "2069"})
        EXPECT_THAT(import(0, 1, one("a\\u" + std::string(mark) + "b")),
                    StartsWith("InvalidArgument: Preset \"a?b\": name: there are control characters"));
    EXPECT_EQ(list(), "([],)");

    // A list in parts is one client's; its last part brings it into force.
    Client other(address());
    EXPECT_EQ(import(0, 2, one("a")), "()");
    EXPECT_THAT(import(1, 2, one("b"), &other), StartsWith("InvalidArgument: This part"));
    EXPECT_EQ(import(1, 2, one(longest)), "()");
    EXPECT_EQ(import(0, 2, one("c")), "()");
    EXPECT_THAT(import(1, 2, one("")), StartsWith("InvalidArgument")); // with which "c" is gone too
    EXPECT_THAT(import(1, 2, one("d")), StartsWith("InvalidArgument: This part"));
    std::string many = "[";
    for (int i = 0; i < 254; ++i)
        many += (i > 0 ? "," : "") + ("('" + std::to_string(i) + "', {'pan': 1.0}, @a{ss} {})");
    EXPECT_EQ(import(0, 1, many + "]"), "()");
    EXPECT_THAT(import(0, 1, one("z")), StartsWith("LimitsExceeded: That would be more than 256 presets"));
    EXPECT_EQ(import(0, 1, one("a", "{'pan': 2.0}")), "()"); // in the place of the one there is
    EXPECT_THAT(list(), StartsWith("([('a', {'pan': 2.0}, {}), ('" + longest));
}

TEST(PresetFile, WhatIsLeftOutOfItIsSaid)
{
    std::string text;
    for (int i = 0; i <= 257; ++i) // "1" twice
        text += "[" + std::to_string(i) + "]\nName=" + std::to_string(std::max(i, 1)) + "\npan=1\n";
    const GKeyFileOwned file(g_key_file_new());
    ASSERT_TRUE(g_key_file_load_from_data(file.get(), text.data(), text.size(), G_KEY_FILE_NONE, nullptr));
    std::vector<std::string> problems;
    EXPECT_EQ(PresetList::from_file(file.get(), problems).all().size(), 256u);
    EXPECT_THAT(problems, ElementsAre("Preset \"1\": there is one of that name before it.",
                                      "Preset \"257\": there are 256 before it, which is the most."));
}

TEST_F(PresetsTest, GoToTheDriverAsMovesToPresetsAfterTheirSettings)
{
    const TempFolder folder;
    options.state_dir = folder.path();
    folder.write("presets.conf", "[1]\nName=spoilt\npan=east\n[2]\nName=kept\ntilt=5\nUserAdv.Gone=1\n[3]\npan=1\n");
    start();
    EXPECT_EQ(list(), "([('kept', {'tilt': 5.0}, {'UserAdv.Gone': '1'})],)");
    EXPECT_EQ(
        import(0, 1, one("p", "{'pan': 1.0, 'zoom': 5.0}", "{'ImageSource.Defog': 'on', 'Limit.MinPan': '-170'}")),
        "()");
    EXPECT_EQ(client.preset("Goto", "('p', 50.0, uint32 7)"), "()");
    EXPECT_THAT(script.lines(), ElementsAre("I Defog", "move 65536/1 - 327680/1 - - - speed=3276800 zoom preset"));
    const std::pair<const char *, const char *> refused[] = {
        {"('kept', 0.0, uint32 0)", "UnknownParameter"}, // a parameter that is gone
        {"('q', 0.0, uint32 0)", "UnknownPreset: There is no preset \"q\""},
        {"('p', 101.0, uint32 0)", "OutOfRange: speed"},
        {"('p', 0.0, uint32 2147483648)", "OutOfRange: id"},
    };
    for (const auto &[arguments, why] : refused)
        EXPECT_THAT(client.preset("Goto", arguments), StartsWith(why));
    EXPECT_EQ(script.lines().size(), 2u);
    EXPECT_THAT(client.preset("Set", "('here', @as [], @as [])"), StartsWith("Failed: pan: it is not known"));
    EXPECT_THAT(client.preset("Which", "({'pan': -1.0},)"), StartsWith("OutOfRange: pan"));
    run_until([&] { // something may be on its way into it
        std::error_code error;
        std::filesystem::remove_all(folder.path(), error);
        return !error;
    });
    std::ofstream(folder.path()) << "a file where the folder was";
    EXPECT_THAT(client.preset("Remove", "('p',)"), StartsWith("NotKept: The presets are changed, which is lost when"));
}

TEST_F(PresetsTest, ModesAreReadBackAndAPictureLeftFrozenLivesAtTheEnd)
{
    start();
    EXPECT_EQ(client.property("FocusMode") + client.property("BacklightMode"), "(<'auto'>,)(<'off'>,)");
    expect_answers({{"SetFocusMode", "('manual',)", "()"}, {"SetBacklightMode", "('on',)", "()"}});
    EXPECT_EQ(client.property("FocusMode") + client.property("BacklightMode"), "(<'manual'>,)(<'on'>,)");
    EXPECT_EQ(client.property("LastMove"), "(<(uint32 0, false, '')>,)");
    ImageSourceControl *control = image_source_control_init();
    image_source_control_freeze_video(control, TRUE);
    service.reset();
    gboolean blanked = FALSE, frozen = TRUE;
    image_source_control_read(&blanked, &frozen);
    EXPECT_FALSE(frozen);
    image_source_control_free(control);
}

} // namespace
