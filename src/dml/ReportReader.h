// Dml::ReportReader: told once per object of a report, in the store's order, on the store's thread.
// An exception from OnSubject travels into the store's delivery code.
#pragma once

#include "common/NonCopyable.h"
#include "por/Forward.h"

namespace Por
{
class Unit;
}

namespace Dml
{

class ReportReader : Common::NonCopyable
{
public:
    virtual ~ReportReader() = default;
    virtual void OnSubject(const Por::View::Unit& object) = 0;
    // Takes the handle's unit (an empty composite when it has none).
    virtual void OnSubject(Por::Unit object);
};

} // namespace Dml
