#include "vcc/rows.h"

#include <algorithm>

namespace {

#define VCC_ROW(constant, ...) constant.info(),
constexpr VccRowInfo ALL_ROWS[] = {
#include "vcc/rows.def"
};
#undef VCC_ROW

} // namespace

std::span<const VccRowInfo> vcc_rows()
{
    return ALL_ROWS;
}

const VccRowInfo *vcc_row_of(std::span<const guint8> record)
{
    const VccRowInfo *found = nullptr;
    // Where the parameter of one row is a fixed byte of another, the other says more.
    for (const VccRowInfo &row : ALL_ROWS)
        if (row.size() == record.size() && std::equal(row.fixed.begin(), row.fixed.end(), record.begin() + 1) &&
            (found == nullptr || row.fixed.size() > found->fixed.size()))
            found = &row;
    return found;
}

std::string vcc_row_pattern(const VccRowInfo &row)
{
    char byte[8];
    g_snprintf(byte, sizeof byte, "%02X", static_cast<unsigned>(row.size() - 1));
    std::string pattern = byte;
    for (const guint8 value : row.fixed) {
        g_snprintf(byte, sizeof byte, " %02X", value);
        pattern += byte;
    }
    char letter = 'p';
    for (const VccWidth width : row.widths) {
        for (int i = 0; i < static_cast<int>(width); i++)
            pattern.append({' ', letter, letter});
        letter++;
    }
    return pattern;
}
