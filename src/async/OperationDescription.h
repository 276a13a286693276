// Async::OperationDescription turns the exception in flight into an error that says which operation
// failed; every catch-all place of the runtime goes through one.
#pragma once

#include <exception>

#include "common/Error.h"
#include "common/NonCopyable.h"

namespace Async
{

class OperationDescription : Common::NonCopyable
{
public:
    virtual ~OperationDescription() = default;
    // A Common::Error was thrown.
    virtual void DescribeException(Common::Error& out, const Common::Error& error) const = 0;
    virtual void DescribeStdException(Common::Error& out, const std::exception& exception) const = 0;
    virtual void DescribeUnknownException(Common::Error& out) const = 0;
};

} // namespace Async
