// Alerts::Detail::MachineAlert: the one alert of this machine that the two machine inspectors keep: its
// id (a seed xored with the machine id), its meta (this machine's instance and the error that names the
// problem), and the log lines and listener calls of activating and deactivating it. Stateless apart from
// what it is built with; the caller guards the listener's lifetime.
#pragma once

#include "common/Error.h"
#include "common/Guid.h"

#include <memory>
#include <string>

namespace Dml
{
class PostOffice;
}

namespace Alerts
{
class Listener;
}

namespace Alerts::Detail
{

class MachineAlert
{
public:
    MachineAlert(const char* addon, const char* type, const Common::Guid& seed, const Common::Guid& machineId,
                 Common::Error (*makeError)());

    const Common::Guid& GetId() const { return Id; }

    // Logs "Activating alert" at level 1, builds the meta, and calls OnActive.
    void Activate(Listener& listener, Dml::PostOffice& postOffice) const;
    // Logs "Deactivating alert" at level 1 and calls OnInactive.
    void Deactivate(Listener& listener) const;

private:
    const char* const Addon;
    const char* const Type;
    const Common::Guid MachineId;
    const Common::Guid Id;
    Common::Error (*const MakeError)();
};

} // namespace Alerts::Detail
