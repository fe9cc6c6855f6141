// What the tests of conversions share: a driver record with nothing in it but a camera model, and tables of results.
#pragma once

#include "core/instance.h"
#include "vcc/model.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <type_traits>
#include <utility>

struct FakeDriver {
    FakeDriver()
    {
        driver.cam_model = &model;
        driver.max_digital_zoom = 12.0f;
    }

    CameraModel model = *vccif_model_krx131(); // which the test may change
    PTZDriverCanon driver{};
};

// Holds a function of a subject (a model, a driver, a table) and a value against pairs of value and result.
template <typename Result, typename Subject, typename Value>
void expect_results(Result (*function)(Subject, Value), std::type_identity_t<Subject> subject,
                    std::initializer_list<std::pair<std::type_identity_t<Value>, std::type_identity_t<Result>>> cases,
                    int line = __builtin_LINE())
{
    for (const auto &[value, result] : cases)
        EXPECT_EQ(function(subject, value), result) << "for " << value << " in the table at line " << line;
}
