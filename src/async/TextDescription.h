// Operation descriptions made of texts: TextDescription turns an exception into an error with a fixed
// location, code and one text per exception class; DebugTraceTextDescription makes the same errors with
// TraceLevel 1; SafeOperationDescription guarantees that describing never throws, and
// SafeDescribeCurrentException is how every catch-all place of the runtime makes its error. Descriptions
// are immutable and thread-safe; the texts they point to must outlive them.
#pragma once

#include "async/OperationDescription.h"
#include "common/Error.h"

#include <cstdint>
#include <exception>

namespace Async
{

// A wide text, or its narrow (UTF-8) fallback when the wide one is null.
struct DescriptionText
{
    DescriptionText(const char16_t* wide, const char* narrow = nullptr) : Wide(wide), Narrow(narrow) {}
    DescriptionText(const char* narrow) : Narrow(narrow) {}

    const char16_t* Wide = nullptr;
    const char* Narrow = nullptr;
};

class TextDescription : public OperationDescription
{
public:
    // `exception` describes a thrown Common::Error (which becomes the sub-error), `stdException` a
    // standard exception ({0} is its what()), `unknown` anything else.
    TextDescription(const Common::ErrorLocation& location, std::uint32_t code, DescriptionText exception,
                    DescriptionText stdException, DescriptionText unknown);

    void DescribeException(Common::Error& out, const Common::Error& error) const override;
    void DescribeStdException(Common::Error& out, const std::exception& exception) const override;
    void DescribeUnknownException(Common::Error& out) const override;

protected:
    // The error of one text; the debug kind adds TraceLevel 1.
    virtual Common::Error MakeError(const Common::WideString& text) const;

    Common::ErrorLocation Location;
    std::uint32_t Code;
    DescriptionText ExceptionText;
    DescriptionText StdExceptionText;
    DescriptionText UnknownExceptionText;
};

class DebugTraceTextDescription final : public TextDescription
{
public:
    using TextDescription::TextDescription;
    // The code as (module * 65536) + value.
    DebugTraceTextDescription(const Common::ErrorLocation& location, std::uint32_t module,
                              std::uint32_t value, DescriptionText exception, DescriptionText stdException,
                              DescriptionText unknown);

protected:
    Common::Error MakeError(const Common::WideString& text) const override;
};

// Calls an inner description and keeps whatever it throws from escaping: a Common::Error thrown while
// describing a Common::Error gives the incoming error unchanged; thrown by the other two, it is the result.
class SafeOperationDescription final : public OperationDescription
{
public:
    explicit SafeOperationDescription(const OperationDescription& inner) : Inner(inner) {}

    void DescribeException(Common::Error& out, const Common::Error& error) const override;
    void DescribeStdException(Common::Error& out, const std::exception& exception) const override;
    void DescribeUnknownException(Common::Error& out) const override;

private:
    const OperationDescription& Inner;
};

// The exception in flight, described by `description` (made safe). Call only inside a catch block.
Common::Error SafeDescribeCurrentException(const OperationDescription& description);

} // namespace Async
