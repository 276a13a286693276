#include "alerts/utils/PerProcessCallback.h"

#include "alerts/MetaKeys.h"
#include "alerts/utils/MetaReaders.h"
#include "async/ImmediateResultAction.h"

#include <algorithm>
#include <utility>

namespace Alerts::Util
{

PerProcessCallback::PerProcessCallback(std::shared_ptr<Listener> next, std::string addon)
    : Next(std::move(next)), Addon(std::move(addon))
{
}

void PerProcessCallback::OnActive(const Common::Guid& id, const std::string& type,
                                  const Por::View::Unit& meta, const Common::WideString& tenantID)
{
    Common::Guid parentProcess;
    if (TryReadGuid(meta, ".ParentProcess", parentProcess, Addon, true))
    {
        std::lock_guard<std::mutex> guard(Lock);
        const bool taken = std::any_of(ParentProcesses.begin(), ParentProcesses.end(),
                                       [&](const auto& entry) { return entry.second == parentProcess; });
        if (taken)
        {
            return;
        }
        ParentProcesses[id] = parentProcess;
    }
    Next->OnActive(id, type, meta, tenantID);
}

void PerProcessCallback::OnInactive(const Common::Guid& id, const std::string& type,
                                    const Common::WideString& tenantID)
{
    {
        std::lock_guard<std::mutex> guard(Lock);
        ParentProcesses.erase(id);
    }
    Next->OnInactive(id, type, tenantID);
}

std::unique_ptr<Async::Action> PerProcessCallback::CleanupAlerts(const std::string&, const Por::View::Unit&)
{
    return Async::MakeImmediateResult();
}

std::unique_ptr<Async::Action> PerProcessCallback::IgnoreAlerts(const std::string&, const Por::View::Unit&)
{
    return Async::MakeImmediateResult();
}

} // namespace Alerts::Util
