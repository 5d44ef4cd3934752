#ifndef VEL_VELEXPORT_H
#define VEL_VELEXPORT_H

// The library is built with hidden symbols by default; VEL_API marks what it exports: the
// classes and functions of the public headers.  Programs that use the library see the same
// attribute, which on ELF platforms only restates the default.
#if defined(__GNUC__) || defined(__clang__)
#define VEL_API __attribute__((visibility("default")))
#else
#define VEL_API
#endif

#endif
