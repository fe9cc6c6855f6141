// Where the camera is and how moves end, as JSON lines with time stamps.
#pragma once

#include <glib.h>

class Context;

// A line for PositionChanged or MoveDone; none for any other signal, nor for parameters of another form.
void show_position_line(Context &context, const char *name, GVariant *parameters);
