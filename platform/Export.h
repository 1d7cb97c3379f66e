#pragma once

// CLASSXML_API marks what the shared library exports. CMake defines classxml_EXPORTS while it
// builds the library itself.
#if defined(_WIN32)
#if defined(classxml_EXPORTS)
#define CLASSXML_API __declspec(dllexport)
#else
#define CLASSXML_API __declspec(dllimport)
#endif
#else
#define CLASSXML_API __attribute__((visibility("default")))
#endif
