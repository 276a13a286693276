// The readers of the promise facade: each copies what it is told into a destination that the promise's
// state owns and keeps alive for the read. PorPromiseReader keeps the last object, UnitArrayPromiseReader
// and SnapshotReader (for a subscription's report) append every object, CountReader keeps the count of a
// counting read, CreatedObjectsReader appends the created objects of news and ignores the rest.
#pragma once

#include "dml/NullSubscriptionReader.h"
#include "dml/ReportReader.h"
#include "dml/SingleObjectReader.h"
#include "por/Forward.h"

#include <vector>

namespace Dml::PromiseFacadeImpl
{

using UnitVector = std::vector<Por::UnitPtr>;

class PorPromiseReader final : public ReportReader
{
public:
    PorPromiseReader(const Por::Construction::UnitFactory& factory, Por::UnitPtr& destination)
        : Factory(factory), Destination(destination)
    {
    }

    using ReportReader::OnSubject;
    void OnSubject(const Por::View::Unit& object) override;

private:
    const Por::Construction::UnitFactory& Factory;
    Por::UnitPtr& Destination;
};

class UnitArrayPromiseReader final : public ReportReader
{
public:
    UnitArrayPromiseReader(const Por::Construction::UnitFactory& factory, UnitVector& destination)
        : Factory(factory), Destination(destination)
    {
    }

    using ReportReader::OnSubject;
    void OnSubject(const Por::View::Unit& object) override;

private:
    const Por::Construction::UnitFactory& Factory;
    UnitVector& Destination;
};

class SnapshotReader final : public ReportReader
{
public:
    SnapshotReader(const Por::Construction::UnitFactory& factory, UnitVector& destination)
        : Factory(factory), Destination(destination)
    {
    }

    using ReportReader::OnSubject;
    void OnSubject(const Por::View::Unit& object) override;

private:
    const Por::Construction::UnitFactory& Factory;
    UnitVector& Destination;
};

// "CounterValue" of the counter object.
using CountReader = CounterReader;

class CreatedObjectsReader final : public NullSubscriptionReader
{
public:
    CreatedObjectsReader(const Por::Construction::UnitFactory& factory, UnitVector& destination)
        : Factory(factory), Destination(destination)
    {
    }

    using NullSubscriptionReader::OnCreated;
    void OnCreated(const Por::View::Unit& object) override;

private:
    const Por::Construction::UnitFactory& Factory;
    UnitVector& Destination;
};

} // namespace Dml::PromiseFacadeImpl
