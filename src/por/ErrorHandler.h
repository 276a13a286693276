// Por::ErrorHandler: what a plain object does when reading a property fails. ThrowingErrorHandler, the
// default, throws; a handler that logs and returns lets a read of an object with holes run to its end.
#pragma once

#include "common/Error.h"
#include "common/NonCopyable.h"

#include <string_view>

namespace Por
{

class ErrorHandler : Common::NonCopyable
{
public:
    virtual ~ErrorHandler() = default;
    virtual void PropertyNotFound(std::string_view name) = 0;
    // `error` is what reading the property raised.
    virtual void PropertyProcessingError(std::string_view name, const Common::Error& error) = 0;
    virtual void Report(const Common::Error& error) = 0;
};

// PropertyNotFound throws 0xfa000d "POR: Property '{0}' cannot be found."; PropertyProcessingError throws
// 0xfa0001 "POR: Property '{0}' processing error has occurred." with the error as its sub-error; Report
// throws the error itself (success is ignored). Stateless and thread-safe.
class ThrowingErrorHandler final : public ErrorHandler
{
public:
    static ThrowingErrorHandler& Instance();

    void PropertyNotFound(std::string_view name) override;
    void PropertyProcessingError(std::string_view name, const Common::Error& error) override;
    void Report(const Common::Error& error) override;
};

} // namespace Por
