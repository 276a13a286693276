// Async::DelegatingActionHandler stands between an action and the next handler and may change the result
// on its way up (ProcessResult). A Common::Error thrown while processing becomes the result, with the
// incoming result as its sub-error. One run at a time, as any handler.
#pragma once

#include "async/Action.h"
#include "common/Error.h"

namespace Async
{

class DelegatingActionHandler : public ActionHandler
{
public:
    // `next` may be set later, before the run completes; it must outlive the run.
    explicit DelegatingActionHandler(ActionHandler* next = nullptr) : Handler(next) {}

    void SetHandler(ActionHandler& next) { Handler = &next; }
    ActionHandler* GetHandler() const { return Handler; }

    // ProcessResult, then the next handler with the processed result (asserted to be set; without one
    // the result is dropped). Nothing of this object is touched after the next handler was called, so
    // that handler may destroy it.
    void Completed(const Common::Error& result) override;

protected:
    // Passes the result on unchanged.
    virtual void ProcessResult(Common::Error& out, const Common::Error& result);

private:
    ActionHandler* Handler;
};

} // namespace Async
