#include "ptzorvel/common/param_store.h"

#include <gtest/gtest.h>

namespace {

constexpr PTZParamDefinition kEnd{PTZ_PARAM_END, nullptr, nullptr, nullptr, 0, 0, nullptr};

PTZParamDefinition row(guint32 type, const char *name, const char *default_text, const char *range,
                       guint32 control = PTZ_CONTROL_PLAIN)
{
    return {type, name, "Shown", default_text, 0x81, control, range};
}

// The value that a driver reads, with its type.
std::string read(PTZDynamicalProperties &group, const char *name)
{
    GValue *value = ptz_dynamical_properties_get(&group, name);
    if (value == nullptr)
        return "none";
    char *text = g_strdup_value_contents(value);
    const std::string result = std::string(G_VALUE_TYPE_NAME(value)) + " " + text;
    g_free(text);
    g_value_unset(value);
    g_free(value);
    return result;
}

TEST(Params, AreTypedHaveTheirDefaultsAndRefuseWhatDoesNotFit)
{
    ParamStore store;
    PTZDynamicalProperties &group = *store.group("UserAdv", true);
    const PTZParamDefinition table[] = {
        row(PTZ_PARAM_INTEGER, "MinPan", "-170", "-170..170"),
        row(PTZ_PARAM_INTEGER, "Free", "7", ""),
        row(PTZ_PARAM_BOOLEAN, "Update", "true", ""),
        row(PTZ_PARAM_STRING, "Profile", "sport", "stage|Stage mode, sport|Sport mode", PTZ_CONTROL_CHOICE),
        {PTZ_PARAM_STRING, "Report", "", "", 0x81, PTZ_CONTROL_PLAIN, ""},
        kEnd,
    };
    ASSERT_TRUE(group.add_table(table));
    EXPECT_EQ(group.find("Profile")->choices[1], (std::pair<std::string, std::string>("sport", "Sport mode")));
    EXPECT_EQ(group.set("MinPan", 171), "UserAdv.MinPan takes numbers in -170..170, not 171.");
    EXPECT_EQ(group.set("MinPan", true), "UserAdv.MinPan takes a value of kind integer.");
    EXPECT_EQ(group.set("Profile", std::string("Sport")), "UserAdv.Profile takes one of stage, sport, not \"Sport\".");
    EXPECT_EQ(group.set("Update", ParamValue()), "UserAdv.Update must have a value.");
    EXPECT_EQ(group.set("Nothing", 1), "UserAdv has no parameter \"Nothing\".");
    EXPECT_EQ(read(group, "MinPan"), "gint -170");
    EXPECT_EQ(read(group, "Update"), "gboolean TRUE");
    EXPECT_EQ(read(group, "Profile"), "gchararray \"sport\"");
    EXPECT_EQ(read(group, "Report"), "none"); // has no value
    EXPECT_EQ(read(group, "Nothing"), "none");
    EXPECT_EQ(ptz_dynamical_properties_get(nullptr, "MinPan"), nullptr);

    EXPECT_EQ(group.set("MinPan", 170) + group.set("Free", -2147483647) + group.set("Report", std::string("ok")), "");
    EXPECT_EQ(read(group, "MinPan") + read(group, "Free") + read(group, "Report"),
              "gint 170gint -2147483647gchararray \"ok\"");
    EXPECT_EQ(group.set("Report", ParamValue()), "");
}

TEST(Params, ATableWithABadRowIsRefusedWhole)
{
    const PTZParamDefinition good = row(PTZ_PARAM_INTEGER, "Good", "1", "");
    const PTZParamDefinition bad[] = {
        good, // there already
        row(9, "Odd", "", ""),
        row(PTZ_PARAM_STRING, nullptr, "", ""),
        row(PTZ_PARAM_INTEGER, "Text", "twelve", ""),
        row(PTZ_PARAM_INTEGER, "Beyond", "11", "1..10"),
        row(PTZ_PARAM_INTEGER, "Upside", "5", "10..1"),
        row(PTZ_PARAM_INTEGER, "Open", "5", "1.."),
        row(PTZ_PARAM_STRING, "Choice", "c", "a|A, b|B", PTZ_CONTROL_CHOICE),
        row(PTZ_PARAM_STRING, "NoBar", "a", "a, b", PTZ_CONTROL_CHOICE),
        row(PTZ_PARAM_BOOLEAN, "Maybe", "yes", ""),
    };
    ParamStore store;
    for (const PTZParamDefinition &wrong : bad) {
        const PTZParamDefinition table[] = {good, wrong, kEnd};
        EXPECT_FALSE(store.group("UserAdv", true)->add_table(table)) << (wrong.name != nullptr ? wrong.name : "");
    }
    EXPECT_TRUE(store.group("UserAdv")->list().empty());
}

} // namespace
