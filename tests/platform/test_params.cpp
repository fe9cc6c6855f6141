#include "ptzorvel/common/param_store.h"

#include <gtest/gtest.h>

namespace {

constexpr PTZParamDefinition kEnd{PTZ_PARAM_END, nullptr, nullptr, nullptr, 0, 0, nullptr};

PTZParamDefinition row(guint32 type, const char *name, const char *default_text, const char *range,
                       guint32 control = PTZ_CONTROL_PLAIN, guint32 flags = 0x81)
{
    return {type, name, "Shown", default_text, flags, control, range};
}

// The value that a driver reads, with its type.
std::string read(PTZDynamicalProperties &group, const char *name)
{
    GValue *value = ptz_dynamical_properties_get(&group, name);
    if (value == nullptr)
        return "none";
    char *text = g_strdup_value_contents(value);
    std::string result = std::string(G_VALUE_TYPE_NAME(value)) + " " + text;
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
        row(PTZ_PARAM_STRING, "Defog", "", "off|Off, on|On", PTZ_CONTROL_CHOICE, 0x181), // in any letter case
        row(PTZ_PARAM_STRING, "Report", "", ""),
        kEnd,
    };
    ASSERT_TRUE(group.add_table(table));
    EXPECT_EQ(group.find("Profile")->choices[1], (std::pair<std::string, std::string>("sport", "Sport mode")));
    const std::string x60(60, 'x');
    const struct {
        const char *name;
        ParamValue value;
        std::string refusal;
        const char *then; // what the driver reads
    } attempts[] = {
        {"MinPan", 171, "UserAdv.MinPan takes numbers in -170..170, not 171.", "gint -170"},
        {"MinPan", true, "UserAdv.MinPan takes a value of kind integer.", "gint -170"},
        {"MinPan", 170, "", "gint 170"},
        {"Free", -2147483647, "", "gint -2147483647"},
        {"Update", ParamValue(), "UserAdv.Update must have a value.", "gboolean TRUE"},
        {"Profile", "Sport", "UserAdv.Profile takes one of stage, sport, not \"Sport\".", "gchararray \"sport\""},
        {"Defog", "", "UserAdv.Defog takes one of off, on, not \"\".", "none"}, // has no value yet
        {"Defog", "%n\n\xff", "UserAdv.Defog takes one of off, on, not \"%n?\uFFFD\".", "none"},
        {"Defog", x60 + x60, "UserAdv.Defog takes one of off, on, not \"" + x60 + "...\".", "none"},
        {"Defog", "oN", "", "gchararray \"on\""}, // as the list spells it
        {"Report", "ok", "", "gchararray \"ok\""},
        {"Report", ParamValue(), "", "none"},
        {"Nothing", 1, "UserAdv has no parameter \"Nothing\".", "none"},
    };
    for (const auto &[name, value, refusal, then] : attempts) {
        EXPECT_EQ(group.set(name, value), refusal);
        EXPECT_EQ(read(group, name), then) << name;
    }
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
