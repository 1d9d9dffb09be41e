#include "system/Host.h"

#include <chrono>

std::uint32_t Sys_Ticks() {
  using std::chrono::duration_cast;
  using std::chrono::milliseconds;
  const auto sinceStart = std::chrono::steady_clock::now().time_since_epoch();
  return static_cast<std::uint32_t>(duration_cast<milliseconds>(sinceStart).count());
}

void Sys_SystemMsgOk(const char* /*message*/, char* /*unused*/) {}

bool Sys_SetClipboardText(char* /*text*/, int /*length*/) {
  return false;
}

void Sys_BreakToDebugger() {}
