#include "geometry/GeometrySupport.h"

int gBreakCount = 0;

// Takes the place of Sys_BreakToDebugger() by the linker's --wrap.
extern "C" void __wrap__Z19Sys_BreakToDebuggerv() {
  ++gBreakCount;
}
