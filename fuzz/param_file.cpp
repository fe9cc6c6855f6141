// Any parameters.conf: values that fit are taken, and kept again as they are.
#include "ptzorvel/ptzd/param_file.h"
#include "ptzorvel/ptzd/state_file.h"

#include "fuzz/params.h"
#include "fuzz/target.h"
#include "tests/support/temp_folder.h"

FUZZ_TARGET(param_file)
{
    const TempFolder folder;
    folder.write("parameters.conf", fuzz::text(input));
    FuzzParams read;
    load_params(folder.path(), read.store);
    for (const ParamInfo &info : read.list()) {
        ParamValue value = info.value;
        HOLDS(param_fit(info, value).empty() || std::holds_alternative<std::monostate>(info.value));
        HOLDS(info.writable || param_value_to_text(info.value) == "fine");
    }
    HOLDS(write_state_file(folder.path(), kParamFile, params_text(read.store)).empty());
    FuzzParams kept;
    load_params(folder.path(), kept.store);
    const std::vector<ParamInfo> former = read.list(), now = kept.list();
    for (std::size_t i = 0; i < former.size(); ++i)
        HOLDS(former[i].value == now[i].value);
}
