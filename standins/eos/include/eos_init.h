// Start and end of the library, once per process each.
#pragma once

#include "eos_types.h"

// EOS_AlreadyConfigured when it is initialised.
EOS_DECLARE_FUNC(EOS_EResult) EOS_Initialize(const EOS_InitializeOptions* Options);

// EOS_NotConfigured when it is not initialised. Final: nothing starts the library again.
EOS_DECLARE_FUNC(EOS_EResult) EOS_Shutdown(void);

// Null when an option is wrong.
EOS_DECLARE_FUNC(EOS_HPlatform) EOS_Platform_Create(const EOS_Platform_Options* Options);
