#include "async/FutureActionAdaptor.h"

#include "async/Errors.h"
#include "common/CatalogIds.h"
#include "common/TextCatalog.h"

namespace Async::Detail
{

void ThrowNullFutureAction()
{
    throw Common::Error(COMMON_LOCATION("Async::Detail::FutureActionAdaptor::Perform"),
                        ErrorCodes::InvalidResult, Common::GetText(Common::Texts::AsyncInvalidResult));
}

} // namespace Async::Detail
