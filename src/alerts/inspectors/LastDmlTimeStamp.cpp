#include "alerts/inspectors/LastDmlTimeStamp.h"

#include "common/Guid.h"
#include "por/Constraints.h"
#include "por/PorUnit.h"
#include "por/Unit.h"
#include "por/UnitAccess.h"
#include "runtime/EntryPoint.h"

namespace Alerts::Detail
{
namespace
{

// E00DD6AF-7906-4FC9-A81C-FF4DB0229FD1
constexpr Common::Guid MarkGuid{0xE00DD6AF, 0x7906, 0x4FC9, {0xA8, 0x1C, 0xFF, 0x4D, 0xB0, 0x22, 0x9F, 0xD1}};

Por::String ClassName()
{
    const std::string_view name = LastDmlTimeStampClassName;
    return Por::String(name.begin(), name.end()); // ASCII: one unit per character
}

} // namespace

Por::UnitPtr MakeLastDmlTimeStamp(std::int64_t value, const Por::Construction::UnitFactory& factory)
{
    Por::Unit mark = Por::Unit::Composite(factory);
    mark.AddTrait("Is", *factory.Create(ClassName()));
    Por::Unit key = mark["ID"];
    key["Guid"] = MarkGuid;
    key["ClassName"] = ClassName();
    key.AddTrait("PrimaryKey");
    mark["Value"] = value;
    return mark.GetRoot();
}

Dml::ViewSpec MakeLastDmlTimeStampSpec(const Por::Construction::UnitFactory& factory)
{
    Por::Unit pattern = Por::Unit::Composite(factory);
    Por::Detail::IsConstraint(ClassName()).Apply(pattern);
    return Dml::ViewSpec{pattern.Result(), nullptr};
}

std::optional<std::int64_t> ReadLastDmlTimeStamp(const Dml::SynchronousDataStore& store)
{
    const Por::UnitPtr mark = store.ReadSingleOrNone(CORE_ENTRY_POINT(), MakeLastDmlTimeStampSpec());
    if (mark == nullptr)
    {
        return std::nullopt;
    }
    return Por::Util::GetPropertyValue<std::int64_t>(*mark, "Value");
}

void WriteLastDmlTimeStamp(const Dml::SynchronousDataStore& store, std::int64_t value)
{
    store.StoreOrUpdate(CORE_ENTRY_POINT(), *MakeLastDmlTimeStamp(value, store.GetObjectsFactory()));
}

} // namespace Alerts::Detail
