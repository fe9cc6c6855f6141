// Look-ups in the iris and gain tables of the driver's camera model: no interpolation, the first row that is far enough
// along wins. All give -1 (-1.0) beyond the end of a table. A missing table, a negative percent and a negative gain
// code are guard failures with the same result.
#pragma once

struct GainRow;
struct PTZDriverCanon;

// Percent 0..100 to a code: the first row of at least that percent.
int vccif_percent_to_vcc_iris(const PTZDriverCanon *self, int percent);
int vccif_percent_to_vcc_gain(const PTZDriverCanon *self, int percent);

// Percent 0..100 to the code of a maximum-gain table, in the same way; -1 for a negative percent, without a guard.
int vccif_percent_to_vcc_max_gain(const GainRow *table, int percent);

// Iris code to percent and F-number: the first row whose code is not above it.
int vccif_vcc_to_percent_iris(const PTZDriverCanon *self, int value);
float vccif_vcc_to_fno_iris(const PTZDriverCanon *self, int value);

// Gain code to percent and decibels: the first row whose code is not below it.
int vccif_vcc_to_percent_gain(const PTZDriverCanon *self, int value);
float vccif_vcc_to_db_gain(const PTZDriverCanon *self, int value);
