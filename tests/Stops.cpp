#include "TestSupport.h"

int gStopCount = 0;
std::string gHostMessage;

// Take the places of the system's calls by the linker's --wrap.
extern "C" void __wrap__Z19Sys_BreakToDebuggerv() {
  ++gStopCount;
}
extern "C" void __wrap__Z15Sys_SystemMsgOkPKcPc(const char* message, char* /*unused*/) {
  gHostMessage = message;
}
