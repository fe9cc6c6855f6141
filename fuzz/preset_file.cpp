// Any presets.conf, and any file that somebody imports: what is taken is kept as it is.
#include "tools/ptzctl/preset_file.h"
#include "fuzz/target.h"
#include "ptzorvel/ptzd/preset_list.h"
#include "tools/ptzctl/failure.h"

FUZZ_TARGET(preset_file)
{
    const std::string text = fuzz::text(input);
    const auto list_of = [](const std::string &file) {
        const GKeyFileOwned keys(g_key_file_new());
        std::vector<std::string> problems;
        const bool good = g_key_file_load_from_data(keys.get(), file.data(), file.size(), G_KEY_FILE_NONE, nullptr);
        return good ? PresetList::from_file(keys.get(), problems) : PresetList();
    };
    const PresetList list = list_of(text);
    HOLDS(list_of(list.text()).text() == list.text());
    for (const Preset &preset : list.all())
        HOLDS(!check_preset_name(preset.name));
    try {
        const GVariantOwned presets = presets_from_json(text, "file");
        HOLDS(g_variant_equal(presets_from_json(presets_json(presets.get()), "again").get(), presets.get()));
    } catch (const Failure &failure) {
        HOLDS(failure.status() == EXIT_REFUSED && failure.code() == "NoPresetList");
    }
}
