#include "async/FutureConversionPolicy.h"

#include "async/Errors.h"
#include "common/CatalogIds.h"
#include "common/TextCatalog.h"

namespace Async::Detail
{

void ThrowFutureValueTaken()
{
    throw Common::Error(COMMON_LOCATION("Async::Future::Get"), ErrorCodes::InvalidResult,
                        Common::GetText(Common::Texts::AsyncInvalidResult));
}

} // namespace Async::Detail
