// The Auth interface: signs Epic accounts in and out.
#pragma once

#include "eos_auth_types.h"

EOS_DECLARE_FUNC(void)
EOS_Auth_Login(EOS_HAuth Handle, const EOS_Auth_LoginOptions* Options, void* ClientData,
               const EOS_Auth_OnLoginCallback CompletionDelegate);

EOS_DECLARE_FUNC(void)
EOS_Auth_Logout(EOS_HAuth Handle, const EOS_Auth_LogoutOptions* Options, void* ClientData,
                const EOS_Auth_OnLogoutCallback CompletionDelegate);

// Forgets what would sign the player in without asking again.
EOS_DECLARE_FUNC(void)
EOS_Auth_DeletePersistentAuth(EOS_HAuth Handle, const EOS_Auth_DeletePersistentAuthOptions* Options,
                              void* ClientData,
                              const EOS_Auth_OnDeletePersistentAuthCallback CompletionDelegate);

// EOS_NotFound when the account is not signed in. Release the token before its platform.
EOS_DECLARE_FUNC(EOS_EResult)
EOS_Auth_CopyUserAuthToken(EOS_HAuth Handle, const EOS_Auth_CopyUserAuthTokenOptions* Options,
                           EOS_EpicAccountId LocalUserId, EOS_Auth_Token** OutUserAuthToken);
