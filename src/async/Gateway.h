// Async::Gateway: the asynchronous reader-writer lock of the runtime. A passage is asked for with an
// action that completes once it is held, leaving a Flag in the caller's slot; the flag's Release (or its
// destruction) lets the next waiters in. Waiters enter in arrival order, and a waiting exclusive request
// holds back shared ones that come after it, so writers can't starve. Thread-safe.
#pragma once

#include "async/Action.h"
#include "common/NonCopyable.h"

#include <memory>

namespace Async
{

namespace Detail
{
class GatewayLogic;
} // namespace Detail

class Gateway : Common::NonCopyable
{
public:
    // A held passage. Release it once; destroying it releases it if that has not happened.
    class Flag : Common::NonCopyable
    {
    public:
        virtual ~Flag() = default;
        virtual void Release() = 0;
    };

    // An open gateway.
    Gateway();
    // A closed gateway: `flag` receives the creator's exclusive passage.
    explicit Gateway(std::unique_ptr<Flag>& flag);
    virtual ~Gateway();

    // Actions whose Perform waits for an exclusive (shared) passage and completes with success once it is
    // held, with its flag stored into `flag`; cancelling a waiting one completes it with 0x00F90002 and the
    // passage, when its turn comes, is given back at once. `flag` must be empty at each Perform and must
    // live until the completion. Each Perform is a new request; the action may outlive the gateway.
    std::unique_ptr<Action> GetExclusive(std::unique_ptr<Flag>& flag);
    std::unique_ptr<Action> GetShared(std::unique_ptr<Flag>& flag);

private:
    std::shared_ptr<Detail::GatewayLogic> Logic;
};

} // namespace Async
