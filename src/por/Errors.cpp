#include "por/Errors.h"

#include "common/CatalogIds.h"
#include "common/FormatText.h"
#include "common/Trace.h"
#include "common/Utf8.h"

#include <execinfo.h>

#include <cstdlib>
#include <string>

namespace Por
{

Common::Error MakeError(const Common::ErrorLocation& location, std::uint32_t code, Common::WideTextId text,
                        std::initializer_list<Common::WideStringView> arguments)
{
    const char16_t* format = Common::GetText(text);
    if (arguments.size() == 0)
    {
        return Common::Error(location, code, Common::WideStringView(format));
    }
    return Common::Error(location, code, Common::FormatText(format, arguments));
}

Common::WideString Widen(std::string_view text)
{
    Common::WideString wide;
    Common::Utf8ToWide(wide, text.data(), text.size());
    return wide;
}

Common::Error MakeNullUnitError(const Common::ErrorLocation& location)
{
    return MakeError(location, ErrorCodes::NullUnit, Common::Texts::PorNullUnit);
}

Common::Error MakeOutOfRangeError(const Common::ErrorLocation& location)
{
    return MakeError(location, ErrorCodes::OutOfRange, Common::Texts::PorOutOfRange);
}

Common::Error MakePropertyNotFoundError(const Common::ErrorLocation& location, std::string_view name)
{
    return MakeError(location, ErrorCodes::PropertyMissing, Common::Texts::PorPropertyNotFound,
                     {Widen(name)});
}

namespace Util::Detail
{

void LogStack(const char* from)
{
    constexpr int TraceLevel = 2;
    if (TraceLevel < Common::GetTraceThreshold() && !Common::Detail::HasTraceComposite())
    {
        return; // nobody would see it
    }
    Common::TraceText(TraceLevel, 0x00FA, 0x000A,
                      Common::FormatText(Common::GetText(Common::Texts::PorStackLoggingFrom), {Widen(from)}));
    void* frames[32];
    const int count = backtrace(frames, 32);
    char** symbols = backtrace_symbols(frames, count);
    for (int i = 1; i < count; ++i)
    {
        const std::string text = symbols != nullptr ? symbols[i] : "?";
        Common::TraceText(TraceLevel, 0x00FA, 0x000A,
                          Common::FormatText(Common::GetText(Common::Texts::PorStackFrame),
                                             {Widen(std::to_string(i - 1)), Widen(text)}));
    }
    std::free(symbols);
}

Common::Error MakeTypeMismatchError(ValueKind expected, ValueKind actual)
{
    LogStack("Por::Util::Detail::MakeTypeMismatchError");
    return MakeError(COMMON_LOCATION("Por::Util::Detail::MakeTypeMismatchError"), ErrorCodes::TypeMismatch,
                     Common::Texts::PorTypeMismatch,
                     {Widen(GetValueTypeName(expected)), Widen(GetValueTypeName(actual))});
}

Common::Error MakePropertyTypeMismatchError(std::string_view name, ValueKind expected, ValueKind actual)
{
    LogStack("Por::Util::Detail::MakePropertyTypeMismatchError");
    return MakeError(COMMON_LOCATION("Por::Util::Detail::MakePropertyTypeMismatchError"),
                     ErrorCodes::TypeMismatch, Common::Texts::PorPropertyTypeMismatch,
                     {Widen(name), Widen(GetValueTypeName(expected)), Widen(GetValueTypeName(actual))});
}

Common::Error MakeUnexpectedTypeMismatchError(ValueKind actual)
{
    LogStack("Por::Util::Detail::MakeUnexpectedTypeMismatchError");
    return MakeError(COMMON_LOCATION("Por::Util::Detail::MakeUnexpectedTypeMismatchError"),
                     ErrorCodes::TypeMismatch, Common::Texts::PorUnexpectedType,
                     {Widen(GetValueTypeName(actual))});
}

} // namespace Util::Detail

namespace Errors
{
namespace
{

Common::Error General(const Common::ErrorLocation& location, Common::WideTextId text,
                      std::initializer_list<Common::WideStringView> arguments = {})
{
    return MakeError(location, ErrorCodes::General, text, arguments);
}

} // namespace

Common::Error ApplyingDiffToEmptyUnit()
{
    return General(COMMON_LOCATION("Por::Errors::ApplyingDiffToEmptyUnit"),
                   Common::Texts::PorApplyingDiffToEmptyUnit);
}

Common::Error ArrayUnitIndexAccess(Common::WideStringView path, std::size_t index)
{
    return General(COMMON_LOCATION("Por::Errors::ArrayUnitIndexAccess"),
                   Common::Texts::PorArrayUnitIndexAccess, {path, Widen(std::to_string(index))});
}

Common::Error EmptyUnitHolder(Common::WideStringView path)
{
    return General(COMMON_LOCATION("Por::Errors::EmptyUnitHolder"), Common::Texts::PorEmptyUnitHolder,
                   {path});
}

Common::Error EmptyUnitTraitAccess(std::string_view trait, Common::WideStringView path)
{
    return General(COMMON_LOCATION("Por::Errors::EmptyUnitTraitAccess"),
                   Common::Texts::PorEmptyUnitTraitAccess, {Widen(trait), path});
}

Common::Error InvalidIteratorAccessAttempt()
{
    return General(COMMON_LOCATION("Por::Errors::InvalidIteratorAccessAttempt"),
                   Common::Texts::PorInvalidIteratorAccess);
}

Common::Error MatchTraitPatternNullPointer()
{
    return General(COMMON_LOCATION("Por::Errors::MatchTraitPatternNullPointer"),
                   Common::Texts::PorMatchTraitPatternNull);
}

Common::Error MissingUnitAccess(Common::WideStringView path)
{
    return General(COMMON_LOCATION("Por::Errors::MissingUnitAccess"), Common::Texts::PorMissingUnitAccess,
                   {path});
}

Common::Error RemoveMissingProperty(std::string_view name)
{
    return General(COMMON_LOCATION("Por::Errors::RemoveMissingProperty"),
                   Common::Texts::PorRemoveMissingProperty, {Widen(name)});
}

Common::Error UnitArrayExpected(Common::WideStringView path)
{
    return General(COMMON_LOCATION("Por::Errors::UnitArrayExpected"), Common::Texts::PorUnitArrayExpected,
                   {path});
}

Common::Error UnitCompositeExpected(Common::WideStringView path)
{
    return General(COMMON_LOCATION("Por::Errors::UnitCompositeExpected"),
                   Common::Texts::PorUnitCompositeExpected, {path});
}

Common::Error UnitMissingPropertyAccess(Common::WideStringView path)
{
    return General(COMMON_LOCATION("Por::Errors::UnitMissingPropertyAccess"),
                   Common::Texts::PorUnitMissingPropertyAccess, {path});
}

Common::Error UnitMissingTraitAccess(std::string_view trait, Common::WideStringView path)
{
    return General(COMMON_LOCATION("Por::Errors::UnitMissingTraitAccess"),
                   Common::Texts::PorUnitMissingTraitAccess, {Widen(trait), path});
}

} // namespace Errors
} // namespace Por
