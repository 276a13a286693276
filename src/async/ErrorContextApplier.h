// Async::ErrorContextApplier lets an operation add its own context to a failure before it is reported
// (a sub-error, a record naming what was being done). The default passes the error on as it is.
#pragma once

#include "common/Error.h"

namespace Async
{

class ErrorContextApplier
{
public:
    ErrorContextApplier() = default;
    ErrorContextApplier(const ErrorContextApplier&) = delete;
    ErrorContextApplier& operator=(const ErrorContextApplier&) = delete;
    virtual ~ErrorContextApplier() = default;

    // `out` is the failure `error` as this operation reports it. May throw Common::Error.
    virtual void ApplyContext(Common::Error& out, const Common::Error& error);
};

} // namespace Async
