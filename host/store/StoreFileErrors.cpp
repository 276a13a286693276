#include "StoreFileErrors.h"

#include "common/CatalogIds.h"
#include "common/FormatText.h"
#include "common/TextCatalog.h"
#include "common/Utf8.h"

namespace Host::Store::StoreFileErrors
{
namespace
{

Common::WideTextId TextOf(std::uint32_t code)
{
    namespace Codes = StoreFileErrorCodes;
    switch (code)
    {
    case Codes::NotDatabase:
        return Common::Texts::HostStoreFileNotDatabase;
    case Codes::Foreign:
        return Common::Texts::HostStoreFileForeign;
    case Codes::UnknownVersion:
        return Common::Texts::HostStoreFileUnknownVersion;
    case Codes::Corrupt:
        return Common::Texts::HostStoreFileCorrupt;
    case Codes::InUse:
        return Common::Texts::HostStoreFileInUse;
    case Codes::CreateFailed:
        return Common::Texts::HostStoreFileCreateFailed;
    case Codes::ReadFailed:
        return Common::Texts::HostStoreFileReadFailed;
    case Codes::WriteFailed:
        return Common::Texts::HostStoreFileWriteFailed;
    case Codes::ReadOnly:
        return Common::Texts::HostStoreFileReadOnly;
    case Codes::StateUnknown:
        return Common::Texts::HostStoreFileStateUnknown;
    default:
        return Common::Texts::HostStoreFileOpenFailed;
    }
}

Common::WideString Widen(std::string_view text)
{
    Common::WideString wide;
    Common::Utf8ToWide(wide, text.data(), text.size());
    return wide;
}

} // namespace

Common::Error Make(const Common::ErrorLocation& location, std::uint32_t code, std::string_view path,
                   std::string_view detail)
{
    const Common::WideString file = Widen(path);
    const Common::WideString reason = Widen(detail);
    return Common::Error(location, code, Common::FormatText(Common::GetText(TextOf(code)), {file, reason}));
}

} // namespace Host::Store::StoreFileErrors
