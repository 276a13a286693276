// Async::Semaphore: the asynchronous counting limit of the runtime. Actions wrapped by one semaphore run
// at most `limit` at a time; the others wait in arrival order and start when a running one completes,
// looking like the thread that performed them (its thread environment is applied around the start).
// Thread-safe. Don't destroy a semaphore while wrapped actions run.
#pragma once

#include "async/Action.h"
#include "common/NonCopyable.h"

#include <cstdint>
#include <memory>

namespace Async
{

namespace Detail
{
class SemaphoreLogic;
} // namespace Detail

class Semaphore : Common::NonCopyable
{
public:
    // At most `limit` wrapped actions run at once; 0 means no limit. Takes the thread environment of the
    // current async service, which must outlive the semaphore.
    explicit Semaphore(std::uint32_t limit);
    virtual ~Semaphore();

    // An action whose every Perform runs `action` under the limit and completes with its result (a null
    // `action` gives 0x00F90001 when its turn comes). Cancelling a waiting run completes it with 0x00F90002
    // without performing `action`; cancelling a running one cancels `action`. Reusable; `action` is shared
    // until the runs have started.
    std::unique_ptr<Action> Wrap(std::shared_ptr<Action> action);

private:
    std::shared_ptr<Detail::SemaphoreLogic> Logic;
};

} // namespace Async
