// What the EOS platform is brought up with.
#pragma once

#include <string>
#include <string_view>

#include <windows.h>

#include "core_contract/config.h"
#include "core_contract/sdk_string.h"
#include "eos_types.h"
#include "zelk_epic_log.h"

namespace zelk {

// The configuration, in the order in which it is read. The options below point into it.
struct PlatformConfig {
  static SdkString Read(const char* key) { return Config::GetString(key, "", kLogTag); }

  SdkString product_name = Read("EPIC_PRODUCT_NAME");
  SdkString product_version = Read("EPIC_PRODUCT_VERSION");
  SdkString product_id = Read("EPIC_PRODUCT_ID");
  SdkString sandbox_id = Read("EPIC_SANDBOX_ID");
  SdkString deployment_id = Read("EPIC_DEPLOYMENT_ID");
  SdkString client_id = Read("EPIC_CLIENT_ID");
  SdkString client_secret = Read("EPIC_CLIENT_SECRET");
};

constexpr bool IsEncryptionKey(std::string_view key) {
  return key.size() == 64 &&
         key.find_first_not_of("0123456789abcdefABCDEF") == std::string_view::npos;
}
static_assert(IsEncryptionKey(ZELK_ENCRYPTION_KEY),
              "ZELK_ENCRYPTION_KEY must be 64 hexadecimal digits");

// The key of what EOS keeps on disk. The first call takes memory.
inline const char* EncryptionKey() {
  static const std::string encryption_key = ZELK_ENCRYPTION_KEY;
  return encryption_key.c_str();
}

// The temporary directory, where EOS keeps what outlives the process. Retried until it succeeds.
inline const char* CacheDirectory() {
  constexpr DWORD kSize = 1024;
  static char cache_directory[kSize];
  if (cache_directory[0] == '\0') GetTempPathA(kSize, cache_directory);
  return cache_directory;
}

inline EOS_Platform_Options PlatformOptions(const PlatformConfig& config) {
  return {.ApiVersion = 7,
          .ProductId = config.product_id.c_str(),
          .SandboxId = config.sandbox_id.c_str(),
          .ClientCredentials = {.ClientId = config.client_id.c_str(),
                                .ClientSecret = config.client_secret.c_str()},
          .bIsServer = EOS_FALSE,
          .EncryptionKey = EncryptionKey(),
          .DeploymentId = config.deployment_id.c_str(),
          .CacheDirectory = CacheDirectory()};
}

}  // namespace zelk
