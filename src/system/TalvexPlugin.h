#pragma once

/// The services that the support library takes from the platform, one header a subject.

#include "system/Colour.h"
#include "system/Files.h"
#include "system/Host.h"
#include "system/Memory.h"
#include "system/Strings.h"
#include "system/WholeFile.h"
