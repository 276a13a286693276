#include "async/TextDescription.h"

#include "async/Errors.h"
#include "common/ErrorKind.h"
#include "common/FormatText.h"
#include "common/Utf8.h"

#include <cstring>

namespace Async
{
namespace
{

Common::WideString Widen(const char* text)
{
    Common::WideString wide;
    if (text != nullptr)
    {
        Common::Utf8ToWide(wide, text, std::strlen(text));
    }
    return wide;
}

Common::WideString TextOf(const DescriptionText& text)
{
    return text.Wide != nullptr ? Common::WideString(text.Wide) : Widen(text.Narrow);
}

} // namespace

TextDescription::TextDescription(const Common::ErrorLocation& location, std::uint32_t code,
                                 DescriptionText exception, DescriptionText stdException,
                                 DescriptionText unknown)
    : Location(location), Code(code), ExceptionText(exception), StdExceptionText(stdException),
      UnknownExceptionText(unknown)
{
}

void TextDescription::DescribeException(Common::Error& out, const Common::Error& error) const
{
    out = MakeError(TextOf(ExceptionText));
    out.SetSubError(error);
}

void TextDescription::DescribeStdException(Common::Error& out, const std::exception& exception) const
{
    const Common::WideString what = Widen(exception.what());
    out = MakeError(Common::FormatText(TextOf(StdExceptionText), {Common::WideStringView(what)}));
}

void TextDescription::DescribeUnknownException(Common::Error& out) const
{
    out = MakeError(TextOf(UnknownExceptionText));
}

Common::Error TextDescription::MakeError(const Common::WideString& text) const
{
    return Common::Error(Location, Code, text);
}

DebugTraceTextDescription::DebugTraceTextDescription(const Common::ErrorLocation& location,
                                                     std::uint32_t module, std::uint32_t value,
                                                     DescriptionText exception, DescriptionText stdException,
                                                     DescriptionText unknown)
    : TextDescription(location, module * 65536 + value, exception, stdException, unknown)
{
}

Common::Error DebugTraceTextDescription::MakeError(const Common::WideString& text) const
{
    return Common::Error(Location, Code, Common::TraceLevelErrorKind, text, {1});
}

void SafeOperationDescription::DescribeException(Common::Error& out, const Common::Error& error) const
{
    try
    {
        Inner.DescribeException(out, error);
    }
    catch (...)
    {
        // Describing must not lose what happened: the incoming error as it is.
        out = error;
    }
}

void SafeOperationDescription::DescribeStdException(Common::Error& out, const std::exception& exception) const
{
    try
    {
        Inner.DescribeStdException(out, exception);
    }
    catch (const Common::Error& thrown)
    {
        out = thrown;
    }
    catch (...)
    {
        out = Errors::InvalidResult();
    }
}

void SafeOperationDescription::DescribeUnknownException(Common::Error& out) const
{
    try
    {
        Inner.DescribeUnknownException(out);
    }
    catch (const Common::Error& thrown)
    {
        out = thrown;
    }
    catch (...)
    {
        out = Errors::InvalidResult();
    }
}

Common::Error SafeDescribeCurrentException(const OperationDescription& description)
{
    const SafeOperationDescription safe(description);
    Common::Error out;
    try
    {
        throw;
    }
    catch (const Common::Error& error)
    {
        safe.DescribeException(out, error);
    }
    catch (const std::exception& exception)
    {
        safe.DescribeStdException(out, exception);
    }
    catch (...)
    {
        safe.DescribeUnknownException(out);
    }
    return out;
}

} // namespace Async
