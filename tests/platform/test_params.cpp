#include "ptzorvel/common/param_store.h"
#include "ptzorvel/ptzd/param_file.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace {

constexpr PTZParamDefinition kEnd{PTZ_PARAM_END, nullptr, nullptr, nullptr, 0, 0, nullptr};

PTZParamDefinition row(guint32 type, const char *name, const char *default_text, guint32 control, const char *range)
{
    return {type, name, "Shown", default_text, 0x81, control, range};
}

class ParamsTest : public testing::Test {
  protected:
    ParamsTest()
    {
        const PTZParamDefinition table[] = {
            row(PTZ_PARAM_INTEGER, "MinPan", "-170", PTZ_CONTROL_PLAIN, "-170..170"),
            row(PTZ_PARAM_INTEGER, "Free", "7", PTZ_CONTROL_PLAIN, ""),
            row(PTZ_PARAM_BOOLEAN, "Update", "true", PTZ_CONTROL_PLAIN, ""),
            row(PTZ_PARAM_STRING, "Profile", "sport", PTZ_CONTROL_CHOICE, "stage|Stage mode, sport|Sport mode"),
            {PTZ_PARAM_STRING, "Report", "", "", 0x81, PTZ_CONTROL_PLAIN, ""},
            kEnd,
        };
        EXPECT_TRUE(group.add_table(table));
    }

    std::string text(const char *name) { return param_value_to_text(group.find(name)->value); }

    ParamStore store;
    PTZDynamicalProperties &group = *store.group("UserAdv", true);
};

TEST_F(ParamsTest, RowsBecomeTypedParametersWithTheirDefaults)
{
    EXPECT_EQ(text("MinPan"), "-170");
    EXPECT_EQ(group.find("MinPan")->bounds, std::make_pair(-170, 170));
    EXPECT_EQ(group.find("Profile")->choices[1], (std::pair<std::string, std::string>("sport", "Sport mode")));
    EXPECT_EQ(text("Update"), "true");
    EXPECT_TRUE(group.find("Update")->writable);
    EXPECT_FALSE(group.find("Report")->writable);
    EXPECT_TRUE(std::holds_alternative<std::monostate>(group.find("Report")->value));
}

TEST_F(ParamsTest, ATableWithABadRowIsRefusedWhole)
{
    const PTZParamDefinition bad[] = {
        row(PTZ_PARAM_INTEGER, "MinPan", "1", PTZ_CONTROL_PLAIN, ""), // there already
        row(9, "Odd", "", PTZ_CONTROL_PLAIN, ""),
        row(PTZ_PARAM_STRING, nullptr, "", PTZ_CONTROL_PLAIN, ""),
        row(PTZ_PARAM_INTEGER, "Text", "twelve", PTZ_CONTROL_PLAIN, ""),
        row(PTZ_PARAM_INTEGER, "Beyond", "11", PTZ_CONTROL_PLAIN, "1..10"),
        row(PTZ_PARAM_INTEGER, "Upside", "5", PTZ_CONTROL_PLAIN, "10..1"),
        row(PTZ_PARAM_INTEGER, "Open", "5", PTZ_CONTROL_PLAIN, "1.."),
        row(PTZ_PARAM_STRING, "Choice", "c", PTZ_CONTROL_CHOICE, "a|A, b|B"),
        row(PTZ_PARAM_STRING, "NoBar", "a", PTZ_CONTROL_CHOICE, "a, b"),
        row(PTZ_PARAM_BOOLEAN, "Maybe", "yes", PTZ_CONTROL_PLAIN, ""),
    };
    for (const PTZParamDefinition &wrong : bad) {
        const PTZParamDefinition table[] = {row(PTZ_PARAM_INTEGER, "Good", "1", PTZ_CONTROL_PLAIN, ""), wrong, kEnd};
        EXPECT_FALSE(group.add_table(table)) << (wrong.name != nullptr ? wrong.name : "no name");
    }
    EXPECT_FALSE(group.find("Good"));
    EXPECT_EQ(group.list().size(), 5u);
}

TEST_F(ParamsTest, ValuesAreCheckedAgainstKindRangeAndChoices)
{
    EXPECT_EQ(group.set("MinPan", 171), "UserAdv.MinPan takes numbers in -170..170, not 171.");
    EXPECT_EQ(group.set("MinPan", true), "UserAdv.MinPan takes a value of kind integer.");
    EXPECT_EQ(group.set("Profile", std::string("Sport")), "UserAdv.Profile takes one of stage, sport, not \"Sport\".");
    EXPECT_EQ(group.set("Update", ParamValue()), "UserAdv.Update must have a value.");
    EXPECT_EQ(group.set("Nothing", 1), "UserAdv has no parameter \"Nothing\".");
    EXPECT_EQ(text("MinPan") + text("Profile") + text("Update"), "-170sporttrue");

    EXPECT_EQ(group.set("MinPan", 170), "");
    EXPECT_EQ(group.set("Free", -2147483647), "");
    EXPECT_EQ(group.set("Report", std::string("cam=ok")), "");
    EXPECT_EQ(group.set("Report", ParamValue()), "");
    EXPECT_EQ(text("MinPan"), "170");
}

TEST_F(ParamsTest, DriversReadTypedValuesAndNullForWhatIsNotThere)
{
    GValue *number = ptz_dynamical_properties_get(&group, "MinPan");
    GValue *on = ptz_dynamical_properties_get(&group, "Update");
    ASSERT_TRUE(G_VALUE_HOLDS_INT(number));
    EXPECT_EQ(g_value_get_int(number), -170);
    ASSERT_TRUE(G_VALUE_HOLDS_BOOLEAN(on));
    EXPECT_TRUE(g_value_get_boolean(on));
    for (GValue *value : {number, on}) {
        g_value_unset(value);
        g_free(value);
    }
    EXPECT_EQ(ptz_dynamical_properties_get(&group, "Report"), nullptr); // no value
    EXPECT_EQ(ptz_dynamical_properties_get(&group, "Nothing"), nullptr);
    EXPECT_EQ(ptz_dynamical_properties_get(nullptr, "MinPan"), nullptr);
}

TEST_F(ParamsTest, KeptValuesComeBackAndSpoiltOnesAreLeftOut)
{
    char folder[] = "/tmp/ptz-params-XXXXXX";
    ASSERT_NE(mkdtemp(folder), nullptr);
    group.set("MinPan", 12);
    group.set("Report", std::string("not kept"));
    save_params(folder, store);

    group.set("MinPan", 13);
    group.set("Report", ParamValue());
    load_params(folder, store);
    EXPECT_EQ(text("MinPan"), "12");
    EXPECT_EQ(text("Report"), "");

    std::ofstream(std::string(folder) + "/parameters.conf") << "[UserAdv]\nMinPan=400\nUpdate=perhaps\nFree=8\n";
    load_params(folder, store);
    EXPECT_EQ(text("MinPan") + text("Update") + text("Free"), "12true8");
    std::ofstream(std::string(folder) + "/parameters.conf") << "no key file";
    load_params(folder, store);
    EXPECT_EQ(text("Free"), "8");
    std::filesystem::remove_all(folder);
}

} // namespace
