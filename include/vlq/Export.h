#pragma once

// VLQ_API marks what the libraries export: the classes and functions of the public headers. The
// libraries are built with hidden visibility, so a shared library exports exactly what carries
// this mark and keeps everything else to itself. Marking a class exports its members, its vtable
// and its type information, so that dynamic_cast and exceptions work across libraries.

#if defined(__GNUC__) || defined(__clang__)
#define VLQ_API __attribute__((visibility("default")))
#else
#define VLQ_API
#endif
