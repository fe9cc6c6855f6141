// One target under libFuzzer.
#include "fuzz/target.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    fuzz::run(fuzz::targets().front(), {data, size});
    return 0;
}
