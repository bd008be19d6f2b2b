// Options as JSON, field by field, as far as their version goes: what RecordCalls keeps of a call.
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <type_traits>

#include "identifiers.h"

namespace eos_standin {

using Json = nlohmann::ordered_json;

// The fields of all options, each with the version of its structure that brought it, in an order
// that is every structure's own.
#define EOS_STANDIN_FIELDS(X)        \
  X(ApiVersion, 1)                   \
  X(AllocateMemoryFunction, 1)       \
  X(ReallocateMemoryFunction, 1)     \
  X(ReleaseMemoryFunction, 1)        \
  X(ProductName, 1)                  \
  X(ProductVersion, 1)               \
  X(Reserved, 1)                     \
  X(SystemInitializeOptions, 1)      \
  X(OverrideThreadAffinity, 4)       \
  X(ProductId, 1)                    \
  X(SandboxId, 1)                    \
  X(ClientCredentials, 1)            \
  X(ClientId, 1)                     \
  X(ClientSecret, 1)                 \
  X(bIsServer, 1)                    \
  X(EncryptionKey, 1)                \
  X(OverrideCountryCode, 1)          \
  X(OverrideLocaleCode, 1)           \
  X(DeploymentId, 1)                 \
  X(Flags, 1)                        \
  X(CacheDirectory, 1)               \
  X(TickBudgetInMilliseconds, 8)     \
  X(RTCOptions, 9)                   \
  X(Id, 1)                           \
  X(Credentials, 1)                  \
  X(Token, 1)                        \
  X(Type, 1)                         \
  X(SystemAuthCredentialsOptions, 1) \
  X(ExternalType, 2)                 \
  X(ScopeFlags, 1)                   \
  X(LoginFlags, 3)                   \
  X(UserLoginInfo, 2)                \
  X(DisplayName, 1)                  \
  X(RefreshToken, 2)                 \
  X(ContinuanceToken, 1)             \
  X(LocalUserId, 1)                  \
  X(TargetUserId, 1)                 \
  X(Index, 1)

template <class Value>
Json Describe(const Value& value);

template <class Options>
Json DescribeFields(const Options& options) {
  int32_t version = 1;
  if constexpr (requires { options.ApiVersion; }) version = options.ApiVersion;
  Json json;
#define EOS_STANDIN_FIELD(name, since)                                            \
  if constexpr (requires { options.name; }) {                                     \
    if ((since) == 1 || version >= (since)) json[#name] = Describe(options.name); \
  }
  EOS_STANDIN_FIELDS(EOS_STANDIN_FIELD)
#undef EOS_STANDIN_FIELD
  return json;
}

// Null is null, identifiers are their texts, structures their fields, and other pointers, which
// mean nothing outside of the caller, are true.
template <class Value>
Json Describe(const Value& value) {
  if constexpr (std::is_enum_v<Value>) {
    return static_cast<int32_t>(value);
  } else if constexpr (std::is_class_v<Value>) {
    return DescribeFields(value);
  } else if constexpr (!std::is_pointer_v<Value>) {
    return value;
  } else if (value == nullptr) {
    return {};
  } else if constexpr (std::is_same_v<Value, const char*>) {
    return value;
  } else if constexpr (requires { value->text; }) {
    return value->text;
  } else if constexpr (requires { value->ApiVersion; }) {
    return DescribeFields(*value);
  } else {
    return true;
  }
}

}  // namespace eos_standin
