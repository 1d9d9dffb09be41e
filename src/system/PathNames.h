#pragma once

/// `path` behind its prefix, "!" with any one character or "file:"; `path` itself without one.
const char* withoutPathPrefix(const char* path);
