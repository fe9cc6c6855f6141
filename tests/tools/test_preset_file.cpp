// Lists of presets in files: what is taken comes back, and what is wrong is named.
#include "tools/ptzctl/failure.h"
#include "tools/ptzctl/preset_file.h"

#include <gmock/gmock.h>

namespace {

using testing::HasSubstr;

TEST(PresetFile, ComesBackAsItWasAndSaysWhatIsWrong)
{
    const char *const text = "[('Tür \"1\"', {'pan': -10.25, 'zoom': 19999.0}, {'ImageSource.WDR': 'on'}), "
                             "('b', {'tilt': 0.0}, @a{ss} {})]";
    const GVariantOwned list(g_variant_ref_sink(g_variant_new_parsed(text)));
    EXPECT_TRUE(g_variant_equal(list.get(), presets_from_json(presets_json(list.get()), "f").get()));
    const std::string settings = R"({"presets":[{"name":"a","position":{"pan":1},"settings":{"A.B":-3,"A.C":true}}]})";
    const GText read(g_variant_print(presets_from_json(settings, "f").get(), FALSE));
    EXPECT_STREQ(read.get(), "[('a', {'pan': 1.0}, {'A.B': '-3', 'A.C': 'true'})]");

    const std::string preset = R"({"presets":[{"name":"a","position":{}},)";
    const std::pair<std::string, const char *> wrong[] = {
        {"", "the whole has to be an object"},
        {"{\"presets\":[", "it is not JSON"},
        {"\xff", "it is not JSON"},
        {std::string(400'000, '['), "it has more brackets than"},
        {"[]", "the whole has to be an object"},
        {"{}", "it has no list called \"presets\""},
        {R"({"presets":{}})", "it has no list called \"presets\""},
        {R"({"preset":[]})", "nothing is called \"preset\" there"},
        {preset + "3]}", "preset 2: it has to be an object"},
        {preset + R"({"position":{}}]})", "preset 2: it has no name"},
        {preset + R"({"name":null,"position":{}}]})", "preset 2: its name has to be a text"},
        {preset + R"({"name":"b"}]})", "preset 2 (b): its position has to be an object"},
        {preset + R"({"name":"b","position":{"pan":"1"}}]})", "pan has to be a number"},
        {preset + R"({"name":"b","position":{"pan":1e999}}]})", ""},
        {preset + R"({"name":"b","position":{},"setings":{}}]})", "nothing is called \"setings\" there"},
        {preset + R"({"name":"b","position":{},"settings":{"A.B":[1]}}]})", "A.B has to be a text"},
        {preset + R"({"name":"b","position":{},"settings":{"A.B":1.5}}]})", "A.B has to be a text"},
    };
    for (const auto &[json, why] : wrong) {
        try {
            presets_from_json(json, "f");
            ADD_FAILURE() << json;
        } catch (const Failure &failure) {
            EXPECT_EQ(failure.status(), EXIT_REFUSED);
            EXPECT_THAT(failure.what(), testing::AllOf(HasSubstr("'f' is no list of presets: "), HasSubstr(why),
                                                       HasSubstr("; nothing was taken")));
        }
    }
    for (const char *file : {"/", "/nonexistent/file", "/dev/zero"})
        EXPECT_THROW(read_preset_file(file), Failure);
}

} // namespace
