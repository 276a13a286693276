#include "por/ConversionErrors.h"

#include "common/CatalogIds.h"
#include "por/Errors.h"

#include <cxxabi.h>

#include <cstdlib>
#include <memory>
#include <string>

namespace Por
{
namespace
{

std::string ClassName(const std::type_info& type)
{
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> demangled(
        abi::__cxa_demangle(type.name(), nullptr, nullptr, &status), &std::free);
    return status == 0 && demangled != nullptr ? std::string(demangled.get()) : std::string(type.name());
}

} // namespace

Common::Error MakeBadCastError(const std::type_info& from, const std::type_info& to)
{
    return MakeError(COMMON_LOCATION("Por::MakeBadCastError"), ErrorCodes::CastFailed,
                     Common::Texts::PorBadCast, {Widen(ClassName(from)), Widen(ClassName(to))});
}

namespace Detail
{

Common::Error MakeFailedToConvertError(Common::WideStringView path)
{
    return MakeError(COMMON_LOCATION("Por::Detail::MakeFailedToConvertError"), ErrorCodes::CastFailed,
                     Common::Texts::PorFailedToConvert, {path});
}

} // namespace Detail
} // namespace Por
