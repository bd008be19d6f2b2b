// The options of EOS_Initialize and EOS_Platform_Create.
#pragma once

#include <stddef.h>

#include "eos_common.h"

#pragma pack(push, 8)

typedef struct EOS_PlatformHandle* EOS_HPlatform;

typedef void*(EOS_CALL* EOS_AllocateMemoryFunc)(size_t SizeInBytes, size_t Alignment);
typedef void*(EOS_CALL* EOS_ReallocateMemoryFunc)(void* Pointer, size_t SizeInBytes,
                                                  size_t Alignment);
typedef void(EOS_CALL* EOS_ReleaseMemoryFunc)(void* Pointer);

#define EOS_INITIALIZE_API_LATEST 4
typedef struct EOS_InitializeOptions {
  int32_t ApiVersion;
  EOS_AllocateMemoryFunc AllocateMemoryFunction;
  EOS_ReallocateMemoryFunc ReallocateMemoryFunction;
  EOS_ReleaseMemoryFunc ReleaseMemoryFunction;
  const char* ProductName;
  const char* ProductVersion;
  void* Reserved;
  void* SystemInitializeOptions;
  // Since version 4.
  struct EOS_Initialize_ThreadAffinity* OverrideThreadAffinity;
} EOS_InitializeOptions;

typedef struct EOS_Platform_ClientCredentials {
  const char* ClientId;
  const char* ClientSecret;
} EOS_Platform_ClientCredentials;

#define EOS_PLATFORM_OPTIONS_API_LATEST 9
typedef struct EOS_Platform_Options {
  int32_t ApiVersion;
  void* Reserved;
  const char* ProductId;
  const char* SandboxId;
  EOS_Platform_ClientCredentials ClientCredentials;
  EOS_Bool bIsServer;
  const char* EncryptionKey;
  const char* OverrideCountryCode;
  const char* OverrideLocaleCode;
  const char* DeploymentId;
  uint64_t Flags;
  const char* CacheDirectory;
  // Since version 8.
  uint32_t TickBudgetInMilliseconds;
  // Since version 9.
  const struct EOS_Platform_RTCOptions* RTCOptions;
} EOS_Platform_Options;

#pragma pack(pop)
