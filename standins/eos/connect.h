// The Connect interface's service: product users.
#pragma once

#include <string>

#include "async_call.h"
#include "eos_connect.h"

namespace eos_standin {

class ConnectLogin : public AsyncSteps<Function::EOS_Connect_Login, EOS_CONNECT_LOGIN_API_LATEST,
                                       EOS_Connect_LoginOptions, EOS_Connect_LoginCallbackInfo> {
 public:
  EOS_EResult Begin(const Options& options);
  EOS_EResult Work(Platform& platform, Info& info);
  void BeforeCompletion(const Platform& platform, const Scripted& scripted, Info& info);

 private:
  const Account* AccountOfToken(const Platform& platform) const;

  std::string token_;
};

class CreateUser
    : public AsyncSteps<Function::EOS_Connect_CreateUser, EOS_CONNECT_CREATEUSER_API_LATEST,
                        EOS_Connect_CreateUserOptions, EOS_Connect_CreateUserCallbackInfo> {
 public:
  EOS_EResult Begin(const Options& options);
  EOS_EResult Work(Platform& platform, Info& info) const;

 private:
  EOS_ContinuanceToken token_ = nullptr;
};

}  // namespace eos_standin
