#include "NotationErrors.h"

#include "common/CatalogIds.h"
#include "common/FormatText.h"
#include "common/TextCatalog.h"
#include "common/Utf8.h"

#include <vector>

namespace Host::Scenario::NotationErrors
{
namespace
{

Common::WideTextId TextOf(std::uint32_t code)
{
    namespace Codes = NotationErrorCodes;
    switch (code)
    {
    case Codes::DuplicateKey:
        return Common::Texts::HostJsonDuplicateKey;
    case Codes::UnknownKind:
        return Common::Texts::HostUnitUnknownKind;
    case Codes::BadValue:
        return Common::Texts::HostUnitBadValue;
    case Codes::NumberWithoutKind:
        return Common::Texts::HostUnitNumberWithoutKind;
    case Codes::MissingField:
        return Common::Texts::HostUnitMissingField;
    case Codes::UnexpectedField:
        return Common::Texts::HostUnitUnexpectedField;
    case Codes::UnknownClass:
        return Common::Texts::HostUnitUnknownClass;
    case Codes::TooDeep:
        return Common::Texts::HostUnitTooDeep;
    default:
        return Common::Texts::HostJsonSyntax;
    }
}

} // namespace

Common::Error Make(const Common::ErrorLocation& location, std::uint32_t code,
                   std::initializer_list<std::string_view> arguments)
{
    std::vector<Common::WideString> wide(arguments.size());
    std::vector<Common::WideStringView> views;
    for (std::size_t index = 0; index < arguments.size(); ++index)
    {
        const std::string_view argument = arguments.begin()[index];
        Common::Utf8ToWide(wide[index], argument.data(), argument.size());
        views.push_back(wide[index]);
    }
    const Common::WideTextId text = code == NotationErrorCodes::Syntax && arguments.size() == 2
                                        ? Common::Texts::HostJsonInvalid
                                        : TextOf(code);
    return Common::Error(location, code, Common::FormatText(Common::GetText(text), views));
}

} // namespace Host::Scenario::NotationErrors
