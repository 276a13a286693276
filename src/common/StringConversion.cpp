#include "common/StringConversion.h"

#include "common/CatalogIds.h"
#include "common/Error.h"
#include "common/Utf8.h"

namespace Core
{

Common::WideString ConvertFromUtf8(std::string_view text)
{
    Common::WideString result;
    if (!Common::Utf8ToWide(result, text.data(), text.size()))
    {
        throw Common::Error(COMMON_LOCATION("Core::ConvertFromUtf8"), Common::MakeErrorCode(0x00E6, 0x0004),
                            Common::GetText(Common::Texts::ConvertFromUtf8Failed));
    }
    return result;
}

std::string ConvertToUtf8(Common::WideStringView text)
{
    std::string result;
    if (!Common::WideToUtf8(result, text.data(), text.size()))
    {
        throw Common::Error(COMMON_LOCATION("Core::ConvertToUtf8"), Common::MakeErrorCode(0x00E6, 0x0003),
                            Common::GetText(Common::Texts::ConvertToUtf8Failed));
    }
    return result;
}

} // namespace Core
