// The Connect interface: signs product users in by the token of an identity provider.
#pragma once

#include "eos_connect_types.h"

EOS_DECLARE_FUNC(void)
EOS_Connect_Login(EOS_HConnect Handle, const EOS_Connect_LoginOptions* Options, void* ClientData,
                  const EOS_Connect_OnLoginCallback CompletionDelegate);

EOS_DECLARE_FUNC(void)
EOS_Connect_CreateUser(EOS_HConnect Handle, const EOS_Connect_CreateUserOptions* Options,
                       void* ClientData, const EOS_Connect_OnCreateUserCallback CompletionDelegate);

// Runs, in a tick, some minutes before the token of the product user runs out.
EOS_DECLARE_FUNC(EOS_NotificationId)
EOS_Connect_AddNotifyAuthExpiration(EOS_HConnect Handle,
                                    const EOS_Connect_AddNotifyAuthExpirationOptions* Options,
                                    void* ClientData,
                                    const EOS_Connect_OnAuthExpirationCallback Notification);
