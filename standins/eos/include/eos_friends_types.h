// The options, data and callbacks of the Friends interface.
#pragma once

#include "eos_common.h"

#pragma pack(push, 8)

EOS_ENUM(EOS_EFriendsStatus){
    EOS_FS_NotFriends = 0,
    EOS_FS_InviteSent = 1,
    EOS_FS_InviteReceived = 2,
    EOS_FS_Friends = 3,
};

#define EOS_FRIENDS_QUERYFRIENDS_API_LATEST 1
typedef struct EOS_Friends_QueryFriendsOptions {
  int32_t ApiVersion;
  EOS_EpicAccountId LocalUserId;
} EOS_Friends_QueryFriendsOptions;

typedef struct EOS_Friends_QueryFriendsCallbackInfo {
  EOS_EResult ResultCode;
  void* ClientData;
  EOS_EpicAccountId LocalUserId;
} EOS_Friends_QueryFriendsCallbackInfo;
EOS_DECLARE_CALLBACK(EOS_Friends_OnQueryFriendsCallback,
                     const EOS_Friends_QueryFriendsCallbackInfo* Data);

#define EOS_FRIENDS_GETFRIENDSCOUNT_API_LATEST 1
typedef struct EOS_Friends_GetFriendsCountOptions {
  int32_t ApiVersion;
  EOS_EpicAccountId LocalUserId;
} EOS_Friends_GetFriendsCountOptions;

#define EOS_FRIENDS_GETFRIENDATINDEX_API_LATEST 1
typedef struct EOS_Friends_GetFriendAtIndexOptions {
  int32_t ApiVersion;
  EOS_EpicAccountId LocalUserId;
  int32_t Index;
} EOS_Friends_GetFriendAtIndexOptions;

#define EOS_FRIENDS_GETSTATUS_API_LATEST 1
typedef struct EOS_Friends_GetStatusOptions {
  int32_t ApiVersion;
  EOS_EpicAccountId LocalUserId;
  EOS_EpicAccountId TargetUserId;
} EOS_Friends_GetStatusOptions;

#pragma pack(pop)
