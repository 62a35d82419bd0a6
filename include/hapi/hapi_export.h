/* Export and linkage macros shared by every libhapi header. */
#ifndef HAPI_EXPORT_H
#define HAPI_EXPORT_H

#if defined(__GNUC__)
#define HAPI_API __attribute__((visibility("default")))
#else
#define HAPI_API
#endif

#ifdef __cplusplus
#define HAPI_BEGIN_DECLS extern "C" {
#define HAPI_END_DECLS }
#define HAPI_NOEXCEPT noexcept
#else
#define HAPI_BEGIN_DECLS
#define HAPI_END_DECLS
#define HAPI_NOEXCEPT
#endif

#endif
