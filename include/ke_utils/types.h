/**
 * @file types.h
 * Defines what all other public headers use: fixed-width integers, the export and format
 * attributes, and the record for a mutex. It declares no function; for those see core.h and the
 * other headers.
 */
#ifndef KE_UTILS_TYPES_H
#define KE_UTILS_TYPES_H

#include <stdarg.h>
#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

/** @defgroup types Types and attributes
 *  Fixed-width integers and the compiler attributes of the interface.
 *  @{ */

typedef int8_t i8;    /**< signed, 8 bits */
typedef int16_t i16;  /**< signed, 16 bits */
typedef int32_t i32;  /**< signed, 32 bits; also the type of every status */
typedef int64_t i64;  /**< signed, 64 bits */
typedef uint8_t u8;   /**< unsigned, 8 bits; a byte */
typedef uint16_t u16; /**< unsigned, 16 bits */
typedef uint32_t u32; /**< unsigned, 32 bits */
typedef uint64_t u64; /**< unsigned, 64 bits */

/**
 * Marks the functions and variables that the library exports.
 *
 * Define KE_UTILS_STATIC to use the static library (the CMake target `ke_utils::ke_utils_static`
 * does so). A consumer of the shared library defines nothing.
 */
#if defined(_WIN32)
#if defined(KE_UTILS_BUILD)
#define KE_API __declspec(dllexport)
#elif defined(KE_UTILS_STATIC)
#define KE_API
#else
#define KE_API __declspec(dllimport)
#endif
#else
#define KE_API __attribute__((visibility("default")))
#endif

/**
 * Lets the compiler check the arguments of a call against its format.
 *
 * In `KE_PRINTF(f, a)`, f is the 1-based position of the format among the parameters, and a that of
 * the first variable argument, or 0 for a function that takes a va_list.
 */
#if defined(__GNUC__) && !defined(__clang__)
#define KE_PRINTF(f, a) __attribute__((format(gnu_printf, f, a)))
#elif defined(__clang__)
#define KE_PRINTF(f, a) __attribute__((format(printf, f, a)))
#else
#define KE_PRINTF(f, a)
#endif

/**
 * An opaque block that is large enough for one of libuv's mutexes (`uv_mutex_t`: a critical section
 * on Windows, a pthread mutex elsewhere). With it, users of these headers need no libuv headers.
 */
typedef union wiq_mutex {
    void* alignment; /**< never used; aligns the record */
#if defined(_WIN32) || defined(__x86_64__)
    u8 storage[40]; /**< private to the library */
#else
    u8 storage[48]; /**< private to the library */
#endif
} wiq_mutex;

/** @} */

#endif
