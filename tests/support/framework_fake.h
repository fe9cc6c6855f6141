// Puts recording operations in the place of those that the framework gives a driver. The services' own functions
// (status cache, data caches, picture control) are replaced by definitions in the test executable.
#pragma once

void fake_framework_install();
