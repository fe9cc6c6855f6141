// Parameters of every kind, for the targets that set and keep them.
#pragma once

#include "ptzorvel/common/param_store.h"

inline constexpr PTZParamDefinition FUZZ_PARAMS[] = {
    {PTZ_PARAM_INTEGER, "MinPan", "Lower end", "-170", 0x81, PTZ_CONTROL_PLAIN, "-170..170"},
    {PTZ_PARAM_INTEGER, "Free", "Any number", "", 0x81, PTZ_CONTROL_PLAIN, ""},
    {PTZ_PARAM_INTEGER, "Rate", "Rate", "50", 0x81, PTZ_CONTROL_CHOICE, "50|Fifty, 60|Sixty"},
    {PTZ_PARAM_BOOLEAN, "Update", "Update", "true", 0x81, PTZ_CONTROL_PLAIN, ""},
    {PTZ_PARAM_STRING, "Exposure", "Exposure", "auto", 0x81 | PTZ_PARAM_FLAG_ANY_CASE, PTZ_CONTROL_CHOICE,
     "auto|Automatic, manual|Manual"},
    {PTZ_PARAM_STRING, "Name", "Name", "", 0x81, PTZ_CONTROL_PLAIN, ""},
    {PTZ_PARAM_STRING, "Status", "", "fine", 0x81, PTZ_CONTROL_PLAIN, ""}, // reported, not to be set
    {PTZ_PARAM_END, nullptr, nullptr, nullptr, 0, 0, nullptr},
};

struct FuzzParams {
    FuzzParams() { store.group("Limit", true)->add_table(FUZZ_PARAMS); }
    std::vector<ParamInfo> list() { return store.group("Limit")->list(); }
    ParamStore store;
};
