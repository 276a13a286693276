// Alerts::InspectorFactory: the interface an alerts add-on offers through its cast table; it makes the
// add-on's inspector over the host's services.
#pragma once

#include "common/NonCopyable.h"

#include <memory>

namespace Runtime
{
class ServiceHolder;
}

namespace Alerts
{

class Inspector;

class InspectorFactory : Common::NonCopyable
{
public:
    virtual ~InspectorFactory();
    // A new inspector, owned by the caller, that takes what it needs from `holder`. A missing service or
    // an inspector that can't be built is thrown as Common::Error.
    virtual std::unique_ptr<Inspector> CreateInspector(Runtime::ServiceHolder& holder) = 0;
};

} // namespace Alerts
