#pragma once

// The version, for C and C++ alike. The build and the call `Version` take it from here.

#define KSMTH_VERSION_MAJOR 1
#define KSMTH_VERSION_MINOR 3
#define KSMTH_VERSION_PATCH 0
