// The handlers of the calls, one per method of com.orna.PTZ; data/com.orna.PTZ.xml says what each does. They run on the
// main thread, check the arguments, and answer at once or have the command thread answer.
#pragma once

#include "ptzorvel/ptzd/service.h"

// calls_motion.cpp
// Has the camera carry out a move of which the arguments are in order, in the client's turn, and answers the call.
// `before`, unless empty, is done first: where it fails, there is no move.
using BeforeMove = std::function<std::optional<CallError>(PTZDriver *driver)>;
void move_camera(PtzService &service, const CallPtr &call, const MoveRequest &move, const BeforeMove &before);
void call_move(PtzService &service, const CallPtr &call);
void call_stop(PtzService &service, const CallPtr &call);
void call_angle_to_zoom(PtzService &service, const CallPtr &call);

// calls_position.cpp
void call_get_position(PtzService &service, const CallPtr &call);
void call_get_field_of_view(PtzService &service, const CallPtr &call);

// calls_camera.cpp
void call_list_special_commands(PtzService &service, const CallPtr &call);
void call_run_special_command(PtzService &service, const CallPtr &call);
void call_retry_upgrade(PtzService &service, const CallPtr &call);
void call_get_capabilities(PtzService &service, const CallPtr &call);
void call_set_speed_factor(PtzService &service, const CallPtr &call);

// calls_modes.cpp
void call_set_iris_mode(PtzService &service, const CallPtr &call);
void call_set_focus_mode(PtzService &service, const CallPtr &call);
void call_set_backlight_mode(PtzService &service, const CallPtr &call);

// calls_params.cpp
void call_list_parameters(PtzService &service, const CallPtr &call);
void call_get_parameter(PtzService &service, const CallPtr &call);
void call_set_parameter(PtzService &service, const CallPtr &call);

// calls_status.cpp
void call_get_state(PtzService &service, const CallPtr &call);
void call_get_status(PtzService &service, const CallPtr &call);
void call_get_published(PtzService &service, const CallPtr &call);
void call_get_data_caches(PtzService &service, const CallPtr &call);
void call_get_metrics(PtzService &service, const CallPtr &call);
void call_get_video(PtzService &service, const CallPtr &call);

// calls_trace.cpp
void call_set_trace(PtzService &service, const CallPtr &call);

// What stands against setting the parameter `info`, asked for by these names, to a value from the bus; nothing, and the
// value in `wanted`, when it can be set.
std::optional<CallError> check_parameter(const std::optional<ParamInfo> &info, const std::string &group,
                                         const std::string &name, GVariant *value, ParamValue &wanted);

// Gives the camera a value that check_parameter() has found good; command thread. An error when it has not taken it,
// and which value is in force then; otherwise the parameter has it, and service.param_was_set() is to be told.
std::optional<CallError> give_parameter(PtzService &service, PTZDriver *driver,
                                        const std::shared_ptr<ParamStore> &store, const std::string &group,
                                        const std::string &name, const ParamValue &wanted);

// calls_presets.cpp: com.orna.PTZ.Presets, as data/com.orna.PTZ.Presets.xml has it
void preset_set(PtzService &service, const CallPtr &call);
void preset_list(PtzService &service, const CallPtr &call);
void preset_remove(PtzService &service, const CallPtr &call);
void preset_rename(PtzService &service, const CallPtr &call);
void preset_goto(PtzService &service, const CallPtr &call);
void preset_import(PtzService &service, const CallPtr &call);
void preset_which(PtzService &service, const CallPtr &call);

// A parameter's value as it goes over the bus, floating; no value: "".
GVariant *param_variant(const ParamValue &value);
