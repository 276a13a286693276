#include "dml/ReportReader.h"
#include "dml/SubscriptionReader.h"
#include "por/PorUnit.h"
#include "por/Unit.h"
#include "por/UnitFactory.h"

namespace Dml
{
namespace
{

// A handle without a unit reads as an empty composite, so a reader always gets an object.
struct UnitOfHandle
{
    explicit UnitOfHandle(const Por::Unit& handle)
    {
        if (handle.Exists())
        {
            Unit = &handle.Get();
        }
        else
        {
            Empty = Por::GetUnitFactory().CreateComposite();
            Unit = Empty.get();
        }
    }

    Por::UnitPtr Empty;
    const Por::View::Unit* Unit = nullptr;
};

} // namespace

void ReportReader::OnSubject(Por::Unit object)
{
    OnSubject(*UnitOfHandle(object).Unit);
}

void SubscriptionReader::OnCreated(Por::Unit object)
{
    OnCreated(*UnitOfHandle(object).Unit);
}

void SubscriptionReader::OnUpdated(Por::Unit before, Por::Unit after)
{
    const UnitOfHandle was(before);
    const UnitOfHandle now(after);
    OnUpdated(*was.Unit, *now.Unit);
}

void SubscriptionReader::OnDeleted(Por::Unit object)
{
    OnDeleted(*UnitOfHandle(object).Unit);
}

} // namespace Dml
