#include "addons/AddonImpl.h"

#include "addons/AddonLoaderProviderClient.h"

namespace Core
{

AddonImpl::~AddonImpl() = default;

void AddonImpl::Configure(const AddonEnvironment& environment)
{
    AddonLoaderProviderClient::SetGlobalInstance(environment.LoaderProvider);
    AddonLoaderProviderClient::SetGlobalTraceLevel(environment.TraceLevel);
}

} // namespace Core
