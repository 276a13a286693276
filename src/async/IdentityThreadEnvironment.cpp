#include "async/IdentityThreadEnvironment.h"

#include "common/ThreadIdentity.h"

namespace Async::Detail
{

ThreadEnvironment::Snapshot IdentityThreadEnvironment::Capture() const
{
    const Common::Identity identity = Common::ThreadIdentity::GetCurrent();
    if (identity == Common::ProcessIdentity)
    {
        return nullptr;
    }
    return std::make_shared<const Common::Identity>(identity);
}

ThreadEnvironment::Snapshot IdentityThreadEnvironment::Apply(const Snapshot& snapshot) const
{
    Snapshot previous = Capture();
    const Common::Identity identity =
        snapshot != nullptr ? *static_cast<const Common::Identity*>(snapshot.get()) : Common::ProcessIdentity;
    Common::ThreadIdentity::SetCurrent(identity);
    return previous;
}

} // namespace Async::Detail
