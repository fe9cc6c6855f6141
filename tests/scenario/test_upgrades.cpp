#include "tests/scenario/system_fixture.h"
