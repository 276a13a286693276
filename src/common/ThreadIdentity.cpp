#include "common/ThreadIdentity.h"

#include "Platform/Identity.h"

namespace Common
{

ThreadIdentity::ThreadIdentity(Identity identity) : Previous(Identity_GetThreadIdentity())
{
    Identity_SetThreadIdentity(identity);
}

ThreadIdentity::~ThreadIdentity()
{
    Identity_SetThreadIdentity(Previous);
}

Identity ThreadIdentity::GetCurrent()
{
    return Identity_GetThreadIdentity();
}

void ThreadIdentity::SetCurrent(Identity identity)
{
    Identity_SetThreadIdentity(identity);
}

} // namespace Common
