#include "Platform/Identity.h"

namespace
{

thread_local std::uint64_t CurrentIdentity = 0;

} // namespace

std::uint64_t Identity_GetThreadIdentity(void)
{
    return CurrentIdentity;
}

void Identity_SetThreadIdentity(std::uint64_t identity)
{
    CurrentIdentity = identity;
}
