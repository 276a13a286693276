// Async::Detail::IdentityThreadEnvironment: the thread environment of the default service, which is the
// thread's identity (Common::ThreadIdentity). A null snapshot stands for the process identity, so capturing
// on a thread that impersonates nobody allocates nothing. Stateless, so thread-safe.
#pragma once

#include "async/Service.h"

namespace Async::Detail
{

class IdentityThreadEnvironment final : public ThreadEnvironment
{
public:
    // The calling thread's identity.
    Snapshot Capture() const override;
    // Runs the calling thread under the snapshot's identity; returns the one it had.
    Snapshot Apply(const Snapshot& snapshot) const override;
};

} // namespace Async::Detail
