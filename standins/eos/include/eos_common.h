// What all EOS interfaces share: identifiers of accounts and product users, and the handles made
// for them. Identifiers are opaque, are never released, and stay valid until EOS_Shutdown.
#pragma once

#include "eos_base.h"
#include "eos_result.h"

#pragma pack(push, 8)

typedef struct EOS_EpicAccountIdDetails* EOS_EpicAccountId;
typedef struct EOS_ProductUserIdDetails* EOS_ProductUserId;
typedef struct EOS_ContinuanceTokenDetails* EOS_ContinuanceToken;
typedef struct EOS_AuthHandle* EOS_HAuth;
typedef struct EOS_ConnectHandle* EOS_HConnect;
typedef struct EOS_FriendsHandle* EOS_HFriends;
typedef struct EOS_UserInfoHandle* EOS_HUserInfo;

typedef uint64_t EOS_NotificationId;
#define EOS_INVALID_NOTIFICATIONID ((EOS_NotificationId)0)

// Lengths of the texts of identifiers, in hexadecimal characters without the NUL.
#define EOS_EPICACCOUNTID_MAX_LENGTH 32
#define EOS_PRODUCTUSERID_MAX_LENGTH 32

// The identity provider whose token signs a user in.
EOS_ENUM(EOS_EExternalCredentialType){EOS_ECT_EPIC = 0};

#pragma pack(pop)

// The prefixed name of a code ("EOS_Success"), never null; also after EOS_Shutdown.
EOS_DECLARE_FUNC(const char*) EOS_EResult_ToString(EOS_EResult Result);

EOS_DECLARE_FUNC(EOS_Bool) EOS_EpicAccountId_IsValid(EOS_EpicAccountId AccountId);

// Writes the text and its length with the NUL; EOS_LimitExceeded, and the length needed, when
// *InOutBufferLength is too small.
EOS_DECLARE_FUNC(EOS_EResult)
EOS_EpicAccountId_ToString(EOS_EpicAccountId AccountId, char* OutBuffer,
                           int32_t* InOutBufferLength);

// Null for a null or empty text; for any other text a handle, which need not be valid.
EOS_DECLARE_FUNC(EOS_EpicAccountId) EOS_EpicAccountId_FromString(const char* AccountIdString);

EOS_DECLARE_FUNC(EOS_EResult)
EOS_ProductUserId_ToString(EOS_ProductUserId AccountId, char* OutBuffer,
                           int32_t* InOutBufferLength);
