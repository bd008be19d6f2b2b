// Linkage, calling convention and the two basic types of the EOS C interface. Every other EOS
// header includes this one; all of them can be used from C and from C++.
#pragma once

#include <stdint.h>

#if defined(_WIN32)
#define EOS_CALL __stdcall
#else
#define EOS_CALL
#endif

#if defined(_WIN32) && defined(EOS_STANDIN_BUILDS)
#define EOS_API __declspec(dllexport)
#elif defined(_WIN32)
#define EOS_API __declspec(dllimport)
#else
#define EOS_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
#define EOS_EXTERN_C extern "C"
#else
#define EOS_EXTERN_C
#endif

#define EOS_DECLARE_FUNC(return_type) EOS_EXTERN_C EOS_API return_type EOS_CALL
#define EOS_DECLARE_CALLBACK(name, ...) typedef void(EOS_CALL * name)(__VA_ARGS__)

// Enumerations are 32 bits wide and signed. C++ callers name a value with its enumeration in front
// (EOS_EResult::EOS_Success), which holds whether the enumeration is scoped or not.
#ifdef __cplusplus
#define EOS_ENUM(name) enum class name : int32_t
#else
#define EOS_ENUM(name)  \
  typedef int32_t name; \
  enum
#endif

// The operators of an enumeration whose values are combined.
#ifdef __cplusplus
#define EOS_ENUM_BOOLEAN_OPERATORS(name)                                                \
  inline constexpr name operator|(name left, name right) {                              \
    return static_cast<name>(static_cast<int32_t>(left) | static_cast<int32_t>(right)); \
  }                                                                                     \
  inline constexpr name operator&(name left, name right) {                              \
    return static_cast<name>(static_cast<int32_t>(left) & static_cast<int32_t>(right)); \
  }                                                                                     \
  inline constexpr name& operator|=(name& left, name right) { return left = left | right; }
#else
#define EOS_ENUM_BOOLEAN_OPERATORS(name)
#endif

typedef int32_t EOS_Bool;
#define EOS_TRUE 1
#define EOS_FALSE 0
