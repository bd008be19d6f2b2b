// The log of the library: one callback for the process, filtered by level. The callback may run
// inside any call and on threads of the library's own; its message lives until it returns.
#pragma once

#include "eos_common.h"

#pragma pack(push, 8)

EOS_ENUM(EOS_ELogLevel){
    EOS_LOG_Off = 0,    EOS_LOG_Fatal = 100,   EOS_LOG_Error = 200,       EOS_LOG_Warning = 300,
    EOS_LOG_Info = 400, EOS_LOG_Verbose = 500, EOS_LOG_VeryVerbose = 600,
};

EOS_ENUM(EOS_ELogCategory){
    EOS_LC_Core = 0,     EOS_LC_Auth = 1,     EOS_LC_Friends = 2,
    EOS_LC_UserInfo = 4, EOS_LC_Connect = 13, EOS_LC_ALL_CATEGORIES = 0x7FFFFFFF,
};

typedef struct EOS_LogMessage {
  const char* Category;
  const char* Message;
  EOS_ELogLevel Level;
} EOS_LogMessage;

EOS_DECLARE_CALLBACK(EOS_LogMessageFunc, const EOS_LogMessage* Message);

#pragma pack(pop)

// Null takes the callback away.
EOS_DECLARE_FUNC(EOS_EResult) EOS_Logging_SetCallback(EOS_LogMessageFunc Callback);

// Messages of the category up to this level reach the callback.
EOS_DECLARE_FUNC(EOS_EResult)
EOS_Logging_SetLogLevel(EOS_ELogCategory LogCategory, EOS_ELogLevel LogLevel);
