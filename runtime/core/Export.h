// The export macro: what carries it can be used from outside the library, everything else stays hidden.
#pragma once

#if defined(_WIN32)
#if defined(VORNACL_BUILDING)
#define VORNACL_API __declspec(dllexport)
#else
#define VORNACL_API __declspec(dllimport)
#endif
#elif defined(__GNUC__)
#define VORNACL_API __attribute__((visibility("default")))
#else
#define VORNACL_API
#endif
