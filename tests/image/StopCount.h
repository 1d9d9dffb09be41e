#pragma once

#include <string>

/// Debugging stops so far, and the last message: these programs are linked to see them.
extern int gStops;
extern std::string gMessage;
