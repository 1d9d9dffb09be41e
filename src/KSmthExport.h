#pragma once

/// Marks what the library exports. Everything else is built with hidden visibility.
#if defined(_WIN32)
#define KSMTH_API __declspec(dllexport)
#else
#define KSMTH_API __attribute__((visibility("default")))
#endif
