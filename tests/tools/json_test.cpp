#include "tools/ptzctl/glib_owned.h"
#include "tools/ptzctl/json.h"

#include <gtest/gtest.h>

namespace {

std::string json_of(const char *variant_text)
{
    VariantOwned value(g_variant_parse(nullptr, variant_text, nullptr, nullptr, nullptr));
    return value ? json_from_variant(value.get()) : "(not a variant)";
}

} // namespace

TEST(Json, EscapesWhatATextMayNotHold)
{
    EXPECT_EQ(json_text("a\"b\\c/d"), R"("a\"b\\c/d")");
    EXPECT_EQ(json_text("tab\t line\n\x01\x7f"), R"("tab\u0009 line\u000a\u0001\u007f")");
    EXPECT_EQ(json_text("grün"), "\"grün\"");
    EXPECT_EQ(json_text("broken \xff byte"), "\"broken \xef\xbf\xbd byte\"");
}

TEST(Json, WritesEveryKindOfValue)
{
    EXPECT_EQ(json_of("true"), "true");
    EXPECT_EQ(json_of("byte 255"), "255");
    EXPECT_EQ(json_of("int16 -32768"), "-32768");
    EXPECT_EQ(json_of("uint32 4294967295"), "4294967295");
    EXPECT_EQ(json_of("int64 -9007199254740993"), "-9007199254740993");
    EXPECT_EQ(json_of("12.5"), "12.5");
    EXPECT_EQ(json_of("('text', [1, 2], <'boxed'>)"), R"(["text",[1,2],"boxed"])");
    EXPECT_EQ(json_of("@ms nothing"), "null");
}

TEST(Json, WritesDictionariesAsObjectsAlsoEmptyAndNumberedOnes)
{
    EXPECT_EQ(json_of("{'pan': <10.25>, 'on': <true>}"), R"({"pan":10.25,"on":true})");
    EXPECT_EQ(json_of("@a{sv} {}"), "{}");
    EXPECT_EQ(json_of("@as []"), "[]");
    EXPECT_EQ(json_of("{uint16 7: 'seven'}"), R"({"7":"seven"})");
}

TEST(Json, HasNoNumberThatIsNotFinite)
{
    VariantOwned not_a_number(g_variant_ref_sink(g_variant_new_double(G_MAXDOUBLE * 2)));
    EXPECT_EQ(json_from_variant(not_a_number.get()), "null");
}
