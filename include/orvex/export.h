/* export.h - the mark of what the library exports, for the other public headers */
#ifndef ORVEX_EXPORT_H
#define ORVEX_EXPORT_H

#ifndef OX_API
#if defined(__GNUC__) && !defined(_WIN32)
#define OX_API __attribute__((visibility("default")))
#else
#define OX_API
#endif
#endif

#endif
