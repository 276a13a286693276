#include "access/ProfileErrors.h"

#include "common/CatalogIds.h"
#include "common/FormatText.h"
#include "common/SafeAssert.h"
#include "common/TextCatalog.h"

namespace AccessManagement::Facade::Errors
{
namespace
{

struct InputText
{
    std::uint32_t Code;
    Common::WideTextId Text;
};

constexpr InputText InputTexts[] = {
    {ErrorCodes::InvalidOperationalUser, Common::Texts::ProfileInvalidOperationalUser},
    {ErrorCodes::InvalidTolUser, Common::Texts::ProfileInvalidTolUser},
    {ErrorCodes::InvalidUser, Common::Texts::ProfileInvalidUser},
    {ErrorCodes::UnsupportedCase, Common::Texts::ProfileUnsupportedCase},
    {ErrorCodes::InvalidClientSession, Common::Texts::ProfileInvalidClientSession},
    {ErrorCodes::InvalidTenant, Common::Texts::ProfileInvalidTenant},
};

Common::Error Wrap(const Common::ErrorLocation& location, std::uint32_t code, Common::WideTextId text,
                   const Common::Error& cause)
{
    Common::Error error(location, code, Common::WideStringView(Common::GetText(text)));
    error.SetSubError(cause);
    return error;
}

} // namespace

Common::Error CannotModify(const Common::ErrorLocation& location, const Common::Error& cause)
{
    return Wrap(location, ErrorCodes::CannotModify, Common::Texts::ProfileModifyFailed, cause);
}

Common::Error CannotAccess(const Common::ErrorLocation& location, const Common::Error& cause)
{
    return Wrap(location, ErrorCodes::CannotAccess, Common::Texts::ProfileAccessFailed, cause);
}

Common::Error InvalidInput(const Common::ErrorLocation& location, std::uint32_t code,
                           Common::WideStringView subject)
{
    for (const InputText& entry : InputTexts)
    {
        if (entry.Code == code)
        {
            return Common::Error(location, code, Common::FormatText(Common::GetText(entry.Text), {subject}));
        }
    }
    SAFE_ASSERT(!"known input error");
    return Common::Error(location, code);
}

} // namespace AccessManagement::Facade::Errors
