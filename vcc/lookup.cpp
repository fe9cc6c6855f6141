#include "vcc/lookup.h"

#include "core/guard.h"
#include "core/instance.h"
#include "vcc/model.h"

namespace {

// The first row of at least that percent, or the row that ends the table. (The end would pass for any percent below it,
// so it is looked for first; so too below.)
template <typename TableRow>
const TableRow &row_of_percent(const TableRow *row, int percent)
{
    while (row->percent != -1 && row->percent < percent)
        row++;
    return *row;
}

// Iris codes fall: the first row whose code is not above `code`, or the end.
const IrisRow &row_of_code(const IrisRow *row, int code)
{
    while (row->percent != -1 && row->code > code)
        row++;
    return *row;
}

// Gain codes rise: the first row whose code is not below `code`, or the end.
const GainRow &row_of_code(const GainRow *row, int code)
{
    while (row->percent != -1 && row->code < code)
        row++;
    return *row;
}

} // namespace

// The row that ends a table holds -1 in every field, which is the answer when nothing fits.

int vccif_percent_to_vcc_iris(const PTZDriverCanon *self, int percent)
{
    GUARD(self->cam_model->iris_tbl, -1);
    GUARD(percent >= 0, -1);
    return row_of_percent(self->cam_model->iris_tbl, percent).code;
}

int vccif_percent_to_vcc_gain(const PTZDriverCanon *self, int percent)
{
    GUARD(self->cam_model->gain_tbl, -1);
    GUARD(percent >= 0, -1);
    return row_of_percent(self->cam_model->gain_tbl, percent).code;
}

int vccif_percent_to_vcc_max_gain(const GainRow *table, int percent)
{
    return percent >= 0 ? row_of_percent(table, percent).code : -1;
}

int vccif_vcc_to_percent_iris(const PTZDriverCanon *self, int value)
{
    GUARD(self->cam_model->iris_tbl, -1);
    return row_of_code(self->cam_model->iris_tbl, value).percent;
}

float vccif_vcc_to_fno_iris(const PTZDriverCanon *self, int value)
{
    GUARD(self->cam_model->iris_tbl, -1.0f);
    return row_of_code(self->cam_model->iris_tbl, value).f_number;
}

int vccif_vcc_to_percent_gain(const PTZDriverCanon *self, int value)
{
    GUARD(self->cam_model->gain_tbl, -1);
    GUARD(value >= 0, -1);
    return row_of_code(self->cam_model->gain_tbl, value).percent;
}

float vccif_vcc_to_db_gain(const PTZDriverCanon *self, int value)
{
    GUARD(self->cam_model->gain_tbl, -1.0f);
    GUARD(value >= 0, -1.0f);
    return row_of_code(self->cam_model->gain_tbl, value).gain_db;
}
