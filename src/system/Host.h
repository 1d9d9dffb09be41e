#pragma once

#include <cstdint>

#include "KSmthExport.h"

// A clock, and what the host of a plug-in would show or do for it. This library shows nothing: the message
// calls are there for the code that reports through them.

/// Milliseconds of a clock that only runs forward, from an arbitrary start; wraps round after 49.7 days.
KSMTH_API std::uint32_t Sys_Ticks();

/// Does nothing: the plug-in shows no messages. Both texts may be null.
KSMTH_API void Sys_SystemMsgOk(const char* message, char* unused = nullptr);

/// Does nothing and answers false: the clipboard is the host's.
KSMTH_API bool Sys_SetClipboardText(char* text, int length);

/// Where the support library meets what must not happen; it then carries on with a fallback. Does nothing, so
/// that a fault in an image does not take the host's session with it. A place for a breakpoint.
KSMTH_API void Sys_BreakToDebugger();
