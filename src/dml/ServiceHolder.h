// Dml::ServiceHolder: the record of the store's services that the client's facades stand on: the post
// office, the object registry and the unit factory. Any may be missing; its getter then throws 0x00FC0031
// "DML: Unproper use. Missing {0}." naming it ("PostOffice", "ObjectRegistry", "UnitFactory"), with the
// line tag of the calling site. Copyable; the services must outlive every copy. Thread-safe.
#pragma once

#include "common/ErrorLocation.h"
#include "por/Forward.h"

#include <cstdint>

namespace Dml
{

class PostOffice;
class ObjectRegistry;

class ServiceHolder
{
public:
    // Without a registry: reads work, writes fail at the getter. The unit factory is the process's.
    explicit ServiceHolder(PostOffice* postOffice);
    ServiceHolder(PostOffice* postOffice, ObjectRegistry* registry);
    // With a factory of the caller's (which may be null, too).
    ServiceHolder(PostOffice* postOffice, ObjectRegistry* registry,
                  const Por::Construction::UnitFactory* factory);

    // The line that calls a getter, filled in there by the default arguments.
    struct CallSite
    {
        explicit CallSite(const char* file = __builtin_FILE(), std::uint32_t line = __builtin_LINE(),
                          const char* function = __builtin_FUNCTION())
            : File(file), Line(line), Function(function)
        {
        }
        const char* File;
        std::uint32_t Line;
        const char* Function;
    };

    // The site defaults to the caller's line.
    const Por::Construction::UnitFactory& GetUnitFactory(CallSite site = CallSite()) const;
    PostOffice& GetPostOffice(CallSite site = CallSite()) const;
    ObjectRegistry& GetObjectRegistry(CallSite site = CallSite()) const;
    // The same, at a site given by its location.
    const Por::Construction::UnitFactory& GetUnitFactory(const Common::ErrorLocation& site) const;
    PostOffice& GetPostOffice(const Common::ErrorLocation& site) const;
    ObjectRegistry& GetObjectRegistry(const Common::ErrorLocation& site) const;

    // Whether the service is there, without throwing.
    bool HasPostOffice() const { return PostOfficePointer != nullptr; }
    bool HasObjectRegistry() const { return Registry != nullptr; }

private:
    PostOffice* PostOfficePointer;
    ObjectRegistry* Registry;
    const Por::Construction::UnitFactory* UnitFactory;
};

} // namespace Dml
