// Export markers of the shared library.
#pragma once

#if defined(_WIN32)
#if defined(QEL_BUILDING_LIBRARY)
#define QEL_API __declspec(dllexport)
#else
#define QEL_API __declspec(dllimport)
#endif
#else
/// Exports a symbol from the shared library; all other symbols have hidden visibility.
#define QEL_API __attribute__((visibility("default")))
#endif
