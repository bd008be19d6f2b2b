// The persistent authorisation: who is signed in without being asked, kept in a file under the
// cache directory of the platform. A platform without a cache directory keeps nothing.
#pragma once

#include "platform.h"

namespace eos_standin {

void KeepPersistentAuth(const Platform& platform, const Session& session);
// Null when nothing is kept, when it is damaged, or when there is no such account any more.
const Account* PersistedAccount(const Platform& platform);
// False when it is still there.
bool ForgetPersistentAuth(const Platform& platform);

}  // namespace eos_standin
