#include "vcc/model.h"

#include <cstddef>
#include <iterator>

namespace {

// What the look-ups rely on: a column rises (falls) from row to row, the row that ends the table left out.
template <typename Row, std::size_t count, typename Number>
constexpr bool rises(const Row (&table)[count], Number Row::*column)
{
    for (std::size_t i = 1; i + 1 < count; i++) {
        if (!(table[i - 1].*column < table[i].*column))
            return false;
    }
    return true;
}

template <typename Row, std::size_t count, typename Number>
constexpr bool falls(const Row (&table)[count], Number Row::*column)
{
    for (std::size_t i = 1; i + 1 < count; i++) {
        if (!(table[i - 1].*column > table[i].*column))
            return false;
    }
    return true;
}

template <typename Row, std::size_t count>
constexpr const Row &last(const Row (&table)[count])
{
    return table[count - 1];
}

template <std::size_t count>
constexpr bool is_slow_shutter_table(const SlowShutterRow (&table)[count])
{
    return falls(table, &SlowShutterRow::limit) && rises(table, &SlowShutterRow::exposure_us) &&
           falls(table, &SlowShutterRow::code) && last(table).limit == 0;
}

// Lens

constexpr NearFocusLimit NEAR_FOCUS_LIMITS[] = {
    {1, 30, 0},     {2124, 80, 1},  {2832, 120, 2}, {3540, 140, 3},   {4247, 170, 4},   {5154, 200, 5}, {5807, 250, 6},
    {6371, 310, 7}, {7068, 420, 8}, {7731, 600, 9}, {8498, 1000, 10}, {9092, 2000, 11}, {-1, -1, 255}};
static_assert(rises(NEAR_FOCUS_LIMITS, &NearFocusLimit::position));
static_assert(last(NEAR_FOCUS_LIMITS).distance_cm == -1);

// Pan and tilt

// Flat between the jumps, which are the skipped ranges.
constexpr SpeedRow PAN_TILT_SPEEDS[] = {
    {1, 200},    {5, 330},    {10, 520},   {15, 820},   {20, 1250},  {25, 1900},  {28, 2700},    {31, 3600},
    {35, 4800},  {40, 6300},  {45, 8000},  {50, 10000}, {51, 10000}, {52, 10000}, {53, 20000},   {54, 20000},
    {55, 20000}, {60, 23000}, {61, 23000}, {62, 23000}, {63, 37000}, {64, 37000}, {65, 37000},   {70, 42000},
    {75, 48000}, {77, 55000}, {80, 63000}, {85, 72000}, {90, 81000}, {95, 91000}, {100, 100000}, {-1, -1}};
static_assert(rises(PAN_TILT_SPEEDS, &SpeedRow::percent) && last(PAN_TILT_SPEEDS).percent == -1);

constexpr SpeedSkipRange SPEED_SKIP_RANGES[] = {{10000, 20000}, {23000, 37000}, {-1, -1}};
static_assert(last(SPEED_SKIP_RANGES).low == -1);

constexpr float RESPONSE_PROFILE_FACTORS[] = {0.8f, 1.0f};

// Video and image

constexpr CaptureGeometryRow CAPTURE_GEOMETRY[] = {
    {"720p25", 1280, 720, 25},   {"720p30", 1280, 720, 30},   {"720p50", 1280, 720, 50},   {"720p60", 1280, 720, 60},
    {"1080i50", 1920, 1080, 50}, {"1080i60", 1920, 1080, 60}, {"1080p25", 1920, 1080, 25}, {"1080p30", 1920, 1080, 30},
    {"1080p50", 1920, 1080, 50}, {"1080p60", 1920, 1080, 60}, {nullptr, -1, -1, -1}};

constexpr CaptureModeRow CAPTURE_MODES_BROADCAST[] = {{"720p25", 1, 3, 1},  {"720p30", 1, 2, 0},  {"720p50", 1, 1, 1},
                                                      {"720p60", 1, 0, 0},  {"1080p25", 1, 3, 1}, {"1080p30", 1, 2, 0},
                                                      {"1080p50", 1, 1, 1}, {"1080p60", 1, 0, 0}, {}};
constexpr CaptureModeRow CAPTURE_MODES_INTEGER[] = {{"720p25", 1, 3, 1},  {"720p30", 1, 5, 2},  {"720p50", 1, 1, 1},
                                                    {"720p60", 1, 4, 2},  {"1080p25", 1, 3, 1}, {"1080p30", 1, 5, 2},
                                                    {"1080p50", 1, 1, 1}, {"1080p60", 1, 4, 2}, {}};

constexpr ModeRow VIDEO_MODES[] = {{"720p25", 0},  {"720p30", 0},  {"720p50", 0},
                                   {"720p60", 0},  {"1080p25", 1}, {"1080p30", 1},
                                   {"1080p50", 1}, {"1080p60", 1}, {}};

constexpr ModeRow OFF_ON[] = {{"off", 0}, {"on", 1}, {}};
constexpr ModeRow GAMMA_CURVES[] = {{"standard", 0}, {"straight", 1}, {}};

constexpr ModeRow WHITE_BALANCES[] = {
    {"fixed_indoor", 16}, {"fixed_outdoor1", 17}, {"fixed_outdoor2", 18}, {"fixed_fluor1", 19}, {"fixed_fluor2", 20},
    {"auto", 0},          {"auto_outdoor", 2},    {"auto_sodium", 1},     {"sodium", 1},        {"fixed_sodium", 22},
    {"mercury", 23},      {"onepush", 3},         {"manual", 5},          {"hold", 6},          {}};

constexpr Range BRIGHTNESS_RANGE = {-8, 0, 8};
constexpr Range DETAIL_RANGE = {0, 10, 19}; // sharpness, noise reduction, defog effect
constexpr Range LEVEL_RANGE = {0, 50, 100};
constexpr Range RESPONSE_RANGE = {1, 50, 100};
constexpr Range WB_GAIN_RANGE = {0, 256, 1023};
constexpr Range IRCF_THRESHOLD_RANGE = {4, 2, 0};
constexpr Range IRCF_LEVEL_RANGE = {0, 2, 4}; // hysteresis, waiting time

// Exposure

constexpr ModeRow EXPOSURE_MODES[] = {{"auto", 0}, {"manual", 3}, {}};
constexpr ModeRow EXPOSURE_PRIORITIES[] = {{"auto", 0},    {"manual", 3},  {"flickerreduced", 2}, {"flickerfree", 6},
                                           {"shutter", 5}, {"iris", 4},    {"motion", 7},         {"lownoise", 8},
                                           {"gain", 9},    {"bright", 10}, {"dciris", 11},        {}};
constexpr ModeRow EXPOSURE_WINDOWS[] = {
    {"auto", 4}, {"center", 0}, {"average", 1}, {"full", 1}, {"spot", 2}, {"area", 3}, {}};

// 0 % is the smallest aperture.
constexpr IrisRow IRIS_ROWS[] = {{0, 16.0f, 32},   {4, 14.67f, 31}, {7, 13.45f, 30}, {11, 12.34f, 29}, {14, 11.31f, 28},
                                 {18, 10.37f, 27}, {21, 9.51f, 26}, {25, 8.72f, 25}, {29, 8.0f, 24},   {32, 7.34f, 23},
                                 {36, 6.73f, 22},  {39, 6.17f, 21}, {43, 5.66f, 20}, {46, 5.19f, 19},  {50, 4.76f, 18},
                                 {54, 4.36f, 17},  {57, 4.0f, 16},  {61, 3.67f, 15}, {64, 3.36f, 14},  {68, 3.08f, 13},
                                 {71, 2.83f, 12},  {75, 2.59f, 11}, {79, 2.38f, 10}, {82, 2.18f, 9},   {86, 2.0f, 8},
                                 {89, 1.83f, 7},   {93, 1.68f, 6},  {96, 1.54f, 5},  {100, 1.41f, 4},  {-1, -1.0f, -1}};
static_assert(rises(IRIS_ROWS, &IrisRow::percent) && falls(IRIS_ROWS, &IrisRow::code));
static_assert(last(IRIS_ROWS).percent == -1 && last(IRIS_ROWS).code == -1 && last(IRIS_ROWS).f_number == -1.0f);

constexpr GainRow GAIN_ROWS[] = {
    {0, 0.0f, 0},     {3, 1.51f, 1},    {6, 3.01f, 2},     {9, 4.52f, 3},    {13, 6.02f, 4},   {16, 7.53f, 5},
    {19, 9.03f, 6},   {22, 10.54f, 7},  {25, 12.04f, 8},   {28, 13.55f, 9},  {31, 15.05f, 10}, {34, 16.56f, 11},
    {38, 18.06f, 12}, {41, 19.57f, 13}, {44, 21.07f, 14},  {47, 22.58f, 15}, {50, 24.08f, 16}, {53, 25.59f, 17},
    {56, 27.09f, 18}, {59, 28.6f, 19},  {63, 30.1f, 20},   {66, 31.61f, 21}, {69, 33.11f, 22}, {72, 34.62f, 23},
    {75, 36.12f, 24}, {78, 37.63f, 25}, {81, 39.13f, 26},  {84, 40.64f, 27}, {88, 42.14f, 28}, {91, 43.65f, 29},
    {94, 45.15f, 30}, {97, 46.66f, 31}, {100, 48.16f, 32}, {-1, -1.0f, -1}};
static_assert(rises(GAIN_ROWS, &GainRow::percent) && rises(GAIN_ROWS, &GainRow::code));
static_assert(last(GAIN_ROWS).percent == -1 && last(GAIN_ROWS).code == -1 && last(GAIN_ROWS).gain_db == -1.0f);

constexpr GainRow MAX_GAIN_ROWS[] = {{0, 0.0f, 0},   {13, 6.0f, 1},  {25, 12.0f, 2}, {38, 18.0f, 3},  {50, 24.0f, 4},
                                     {63, 30.0f, 5}, {75, 36.0f, 6}, {88, 42.0f, 7}, {100, 48.0f, 8}, {-1, -1.0f, -1}};
static_assert(rises(MAX_GAIN_ROWS, &GainRow::percent) && last(MAX_GAIN_ROWS).percent == -1);

constexpr ShutterRow SHUTTER_ROWS[] = {
    {0, 91, 54},       {2, 111, 53},     {4, 125, 52},     {6, 156, 51},    {8, 179, 50},     {10, 208, 49},
    {13, 250, 48},     {15, 294, 47},    {17, 357, 46},    {19, 417, 45},   {21, 500, 44},    {23, 588, 43},
    {25, 714, 42},     {27, 833, 41},    {29, 1000, 40},   {31, 1190, 39},  {33, 1389, 38},   {35, 1667, 37},
    {38, 2000, 36},    {40, 2381, 35},   {42, 2778, 34},   {44, 3333, 33},  {46, 4000, 32},   {48, 4762, 31},
    {50, 5556, 30},    {52, 6667, 29},   {54, 8333, 28},   {56, 10000, 27}, {58, 11765, 26},  {60, 14085, 25},
    {63, 16667, 24},   {65, 20000, 23},  {67, 23810, 22},  {69, 27778, 21}, {71, 33333, 20},  {73, 40000, 19},
    {75, 50000, 18},   {77, 55556, 17},  {79, 66667, 16},  {81, 83333, 15}, {83, 100000, 14}, {85, 111111, 13},
    {88, 125000, 12},  {90, 166667, 11}, {92, 200000, 10}, {94, 250000, 8}, {96, 333333, 7},  {98, 500000, 4},
    {100, 1000000, 0}, {-1, -1, -1}};
static_assert(rises(SHUTTER_ROWS, &ShutterRow::percent) && rises(SHUTTER_ROWS, &ShutterRow::exposure_us));
static_assert(falls(SHUTTER_ROWS, &ShutterRow::code) && last(SHUTTER_ROWS).percent == -1);

constexpr SlowShutterRow SLOW_SHUTTER_25[] = {{-1, 40000, 19},   {-2, 100000, 14}, {-3, 125000, 12}, {-4, 166667, 11},
                                              {-5, 200000, 10},  {-6, 250000, 8},  {-8, 333333, 7},  {-12, 500000, 4},
                                              {-25, 1000000, 0}, {0, -1, -1}};
constexpr SlowShutterRow SLOW_SHUTTER_30[] = {{-1, 33333, 20},   {-2, 66667, 16}, {-4, 125000, 12}, {-5, 166667, 11},
                                              {-6, 200000, 10},  {-8, 250000, 8}, {-10, 333333, 7}, {-15, 500000, 4},
                                              {-30, 1000000, 0}, {0, -1, -1}};
constexpr SlowShutterRow SLOW_SHUTTER_50[] = {{-1, 20000, 23},  {-2, 40000, 19},  {-3, 66667, 16},   {-5, 100000, 14},
                                              {-6, 125000, 12}, {-8, 166667, 11}, {-10, 200000, 10}, {-12, 250000, 8},
                                              {-16, 333333, 7}, {-25, 500000, 4}, {-50, 1000000, 0}, {0, -1, -1}};
constexpr SlowShutterRow SLOW_SHUTTER_60[] = {{-1, 16667, 24},  {-2, 33333, 20},  {-3, 50000, 18},   {-4, 66667, 16},
                                              {-6, 100000, 14}, {-8, 125000, 12}, {-10, 166667, 11}, {-12, 200000, 10},
                                              {-15, 250000, 8}, {-20, 333333, 7}, {-30, 500000, 4},  {-60, 1000000, 0},
                                              {0, -1, -1}};
static_assert(is_slow_shutter_table(SLOW_SHUTTER_25) && is_slow_shutter_table(SLOW_SHUTTER_30));
static_assert(is_slow_shutter_table(SLOW_SHUTTER_50) && is_slow_shutter_table(SLOW_SHUTTER_60));

constexpr ShutterTable SHUTTER_TABLES[] = {{"720p25", SHUTTER_ROWS},
                                           {"720p30", SHUTTER_ROWS},
                                           {"720p50", SHUTTER_ROWS},
                                           {"720p60", SHUTTER_ROWS},
                                           {"1080i50", SHUTTER_ROWS},
                                           {"1080i60", SHUTTER_ROWS},
                                           {"1080p25", SHUTTER_ROWS},
                                           {"1080p30", SHUTTER_ROWS},
                                           {"1080p50", SHUTTER_ROWS},
                                           {"1080p60", SHUTTER_ROWS},
                                           {}};
constexpr SlowShutterTable SLOW_SHUTTER_TABLES[] = {{"720p25", SLOW_SHUTTER_25},
                                                    {"720p30", SLOW_SHUTTER_30},
                                                    {"720p50", SLOW_SHUTTER_50},
                                                    {"720p60", SLOW_SHUTTER_60},
                                                    {"1080i50", SLOW_SHUTTER_50},
                                                    {"1080i60", SLOW_SHUTTER_60},
                                                    {"1080p25", SLOW_SHUTTER_25},
                                                    {"1080p30", SLOW_SHUTTER_30},
                                                    {"1080p50", SLOW_SHUTTER_50},
                                                    {"1080p60", SLOW_SHUTTER_60},
                                                    {}};

constexpr CameraModel KRX131 = {
    .model_number = 1,
    .capabilities = {0x871DFBFF, 0x006194B5},
    .zoom_limits = {1, 19999},
    .focus_limits = {1, 9999},
    .iris_limits = {1, 9999},
    .field_angle_limits = {23, 628},
    .aux_limits = {{1, 9999}, {1, 9999}, {1, 9999}},
    .optical_zoom_vcc_range = {0, 2440},
    .zoom_vcc_range = {0, 7424},
    .digital_zoom_vcc_range = {0, 2816},
    .max_optical_magnification = 30.0f,
    .max_digital_magnification = 12.0f,
    .zoom_speed_range = {0, 7},
    .wide_hfov = 62.80078125f,
    .tele_hfov = 2.300781f,
    .near_focus_limits = NEAR_FOCUS_LIMITS,
    .near_focus_limit_default = 1,
    .near_focus_limit_count = std::size(NEAR_FOCUS_LIMITS) - 1,
    .focus_vcc_range = {2048, 1144},
    .focus_speed_range = {0, 7},
    .focus_active_time_range = {0, 255},
    .focus_interval_time_range = {0, 255},
    .pan_vcc_range = {-170000, 170000},
    .pan_speed_vcc_range = {200, 100000},
    .pan_speed_percent_max = 100,
    .tilt_vcc_range = {-20000, 90000},
    .tilt_speed_vcc_range = {200, 100000},
    .tilt_speed_percent_max = 100,
    .pan_tilt_speed_tbl = PAN_TILT_SPEEDS,
    .response_profile_factors = RESPONSE_PROFILE_FACTORS,
    .speed_skip_ranges = SPEED_SKIP_RANGES,
    .capture_mode_geometry_tbl = CAPTURE_GEOMETRY,
    .capture_mode_tbls = {CAPTURE_MODES_BROADCAST, CAPTURE_MODES_INTEGER},
    .video_mode_tbl = VIDEO_MODES,
    .brightness_range = &BRIGHTNESS_RANGE,
    .sharpness_range = &DETAIL_RANGE,
    .level_range = &LEVEL_RANGE,
    .nr_range = &DETAIL_RANGE,
    .wdr_tbl = OFF_ON,
    .gamma_tbl = GAMMA_CURVES,
    .exposure_mode_tbl = EXPOSURE_MODES,
    .exposure_priority_tbl = EXPOSURE_PRIORITIES,
    .exposure_window_tbl = EXPOSURE_WINDOWS,
    .spot_exposure_area = {0, 255, 13, 243, 26, 230, 51, 85},
    .ae_response_range = &RESPONSE_RANGE,
    .shutter_tbls = SHUTTER_TABLES,
    .slow_shutter_tbls = SLOW_SHUTTER_TABLES,
    .gain_tbl = GAIN_ROWS,
    .max_gain_tbl = MAX_GAIN_ROWS,
    .max_gain_high_sensitivity_tbl = MAX_GAIN_ROWS,
    .iris_tbl = IRIS_ROWS,
    .reserved_levels = {32, 4, 32},
    .white_balance_tbl = WHITE_BALANCES,
    .wb_gain_range = &WB_GAIN_RANGE,
    .color_gain_range = &LEVEL_RANGE,
    .hue_range = &LEVEL_RANGE,
    .defog_effect_range = &DETAIL_RANGE,
    .image_stabilizer_tbl = OFF_ON,
    .distortion_correction_tbl = OFF_ON,
    .ircf_threshold_range = &IRCF_THRESHOLD_RANGE,
    .ircf_hysteresis_range = &IRCF_LEVEL_RANGE,
    .ircf_waittime_range = &IRCF_LEVEL_RANGE,
    .ir_correction_frequency = 3,
    .near_focus_limit_supported = TRUE,
    .exposure_auto_manual_modes = FALSE,
    .exposure_priority_supported = FALSE,
    .reserved_flag_exposure = FALSE,
    .wb_onepush_supported = TRUE,
    .reserved_flags = {TRUE, TRUE, TRUE, TRUE, TRUE, TRUE},
    .camera_mode_check = FALSE,
    .video_mode_supported = TRUE,
    .capture_modes_broadcast = TRUE,
    .capture_modes_integer = TRUE,
    .video_output_selectable = TRUE,
    .halt_sensor_on_power_off = FALSE,
    .sw_reset_supported = FALSE,
    .zoom_by_magnification = TRUE,
    .image_freeze_supported = TRUE,
    .response_profile_supported = TRUE,
    .reserved_flag_last = TRUE,
};

} // namespace

const CameraModel *vccif_model_krx131()
{
    return &KRX131;
}
