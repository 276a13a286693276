// AccessManagement::Facade::TemporaryProfile: a profile for an identity that lives only as long as some
// work: a new one, or one that such work handed on. It can never stand for the system or for none.
#pragma once

#include "access/UserProfile.h"

namespace AccessManagement::Facade
{

class TemporaryProfile : public UserProfile
{
public:
    // A new identity with a random id.
    explicit TemporaryProfile(const Runtime::ServiceHolder& holder);
    // The identity `id`; throws 0x02760007 "The case is not supported." when it is none or the system's.
    TemporaryProfile(const Runtime::ServiceHolder& holder, const Common::Guid& id);
};

} // namespace AccessManagement::Facade
