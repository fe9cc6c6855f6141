// The rows of rows.def as constants: ROW_FOCUS_MODE, ROW_FOCUS_POSITION, ...
#pragma once

#include "vcc/row.h"

#include <string>

#define VCC_ROW(constant, ...) inline constexpr VccRow constant{__VA_ARGS__};
#include "vcc/rows.def"
#undef VCC_ROW

// All rows in the order of rows.def.
std::span<const VccRowInfo> vcc_rows();

// The row of a record, with its length byte; null when there is none.
const VccRowInfo *vcc_row_of(std::span<const guint8> record);

// The bytes of a row's record in hexadecimal, each parameter as a letter of its own: "05 00 01 01 pp pp".
std::string vcc_row_pattern(const VccRowInfo &row);
