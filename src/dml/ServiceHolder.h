// Dml::ServiceHolder: the record of the store's services that the client's facades stand on: the post
// office, the object registry and the unit factory. Any may be missing; its getter then throws 0x00FC0031
// "DML: Unproper use. Missing {0}." naming it ("PostOffice", "ObjectRegistry", "UnitFactory"), with the
// line tag of the calling site. Copyable; the services must outlive every copy. Thread-safe.
#pragma once

#include "common/ErrorLocation.h"
#include "por/Forward.h"

#include <source_location>

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

    // The site defaults to the caller's line.
    const Por::Construction::UnitFactory&
    GetUnitFactory(const std::source_location& site = std::source_location::current()) const;
    PostOffice& GetPostOffice(const std::source_location& site = std::source_location::current()) const;
    ObjectRegistry&
    GetObjectRegistry(const std::source_location& site = std::source_location::current()) const;
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
