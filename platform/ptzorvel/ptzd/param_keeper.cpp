#include "ptzorvel/ptzd/param_keeper.h"

#include "ptzorvel/ptzd/param_file.h"

#include <utility>

ParamKeeper::ParamKeeper(const std::string &folder) : keeper_(folder, kParamFile, "Parameters")
{
}

void ParamKeeper::load(ParamStore &store)
{
    remove_stray_params(keeper_.folder());
    load_params(keeper_.folder(), store);
    keeper_.is_safe(params_text(store));
}

void ParamKeeper::save(const ParamStore &store, Done done)
{
    keeper_.save(params_text(store), std::move(done));
}
