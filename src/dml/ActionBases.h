// The three shapes of store actions: a write reaches the object registry, a read the post office with a
// spec, a read-write both and a unit factory. Each action owns what it needs (shared units), so it may
// be performed once its arguments' owners are gone.
#pragma once

#include "async/Action.h"
#include "dml/ViewSpec.h"
#include "runtime/EntryPoint.h"

namespace Por::Construction
{
class UnitFactory;
}

namespace Dml
{
class PostOffice;
class ObjectRegistry;
} // namespace Dml

namespace Dml::Actions::Detail
{

class WriteAction : public virtual Async::Action
{
protected:
    explicit WriteAction(ObjectRegistry& registry) : Registry(registry) {}
    ObjectRegistry& Registry;
};

class ReadAction : public virtual Async::Action
{
protected:
    ReadAction(Core::EntryPoint entryPoint, ViewSpec spec, PostOffice& postOffice)
        : EntryPoint(std::move(entryPoint)), Spec(std::move(spec)), Office(postOffice)
    {
    }
    const Core::EntryPoint EntryPoint;
    const ViewSpec Spec;
    PostOffice& Office;
};

class ReadWriteAction : public virtual Async::Action
{
protected:
    ReadWriteAction(Core::EntryPoint entryPoint, PostOffice& postOffice, ObjectRegistry& registry,
                    const Por::Construction::UnitFactory& factory)
        : EntryPoint(std::move(entryPoint)), Office(postOffice), Registry(registry), Factory(factory)
    {
    }
    const Core::EntryPoint EntryPoint;
    PostOffice& Office;
    ObjectRegistry& Registry;
    const Por::Construction::UnitFactory& Factory;
};

} // namespace Dml::Actions::Detail
