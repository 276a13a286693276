// Dml::SingleObjectReader keeps a copy of the first object of a report and counts them all; it never
// fails on a second object, the caller looks at the count.
#pragma once

#include "dml/ReportReader.h"
#include "por/Forward.h"

#include <cstdint>

namespace Dml
{

class SingleObjectReader final : public ReportReader
{
public:
    SingleObjectReader(const Por::Construction::UnitFactory& factory, Por::UnitPtr& destination)
        : Factory(factory), Destination(destination)
    {
    }

    using ReportReader::OnSubject;
    void OnSubject(const Por::View::Unit& object) override;
    std::uint32_t GetCount() const { return Count; }

private:
    const Por::Construction::UnitFactory& Factory;
    Por::UnitPtr& Destination;
    std::uint32_t Count = 0;
};

// Stores "CounterValue" of each object it is told (0 when absent); the last one wins.
class CounterReader final : public ReportReader
{
public:
    explicit CounterReader(std::uint32_t& destination) : Destination(destination) {}

    using ReportReader::OnSubject;
    void OnSubject(const Por::View::Unit& object) override;

private:
    std::uint32_t& Destination;
};

} // namespace Dml
