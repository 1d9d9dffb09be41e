#include "image/StopCount.h"

int gStops = 0;
std::string gMessage;

// Take the places of the system's calls by the linker's --wrap.
extern "C" void __wrap__Z19Sys_BreakToDebuggerv() {
  ++gStops;
}
extern "C" void __wrap__Z15Sys_SystemMsgOkPKcPc(const char* message, char* /*unused*/) {
  gMessage = message;
}
