#include "por/SafeUnitHolder.h"

#include "por/Errors.h"
#include "por/Unit.h"

namespace Por::View
{

void SafeUnitHolder::Validate() const
{
    if (Held == nullptr)
    {
        throw Common::Error(COMMON_LOCATION("Por::View::SafeUnitHolder::Validate"), ErrorCodes::HolderEmpty);
    }
}

const Unit& SafeUnitHolder::Get() const
{
    Validate();
    return *Held;
}

} // namespace Por::View
