#include "dml/KeyPattern.h"

#include "dml/ObjectKey.h"
#include "por/TraitUtil.h"
#include "por/UnitAccess.h"

#include <optional>

namespace Dml
{
namespace
{
constexpr std::string_view ObjectIdTrait = "ObjectID";
} // namespace

Por::ConstUnitPtr MakeKeyPattern(const Por::View::Unit& key, const Por::Construction::UnitFactory& factory)
{
    Por::UnitPtr pattern = Por::Util::Copy(key, factory);
    if (!Por::Util::HasTrait(*pattern, "PrimaryKey") && !Por::Util::HasTrait(*pattern, "ForeignKey"))
    {
        Por::Util::AddTrait(*pattern, "PrimaryKey", factory);
    }
    Por::Util::AddTrait(*pattern, ObjectIdTrait, factory);
    return pattern;
}

Por::ConstUnitPtr MakeKeyPatternFromValue(const Common::Guid& value,
                                          const Por::Construction::UnitFactory& factory)
{
    Por::UnitPtr pattern = factory.CreateGuid(value);
    Por::Util::AddTrait(*pattern, ObjectIdTrait, factory);
    return pattern;
}

bool IsKeyPattern(const Por::View::Unit& pattern)
{
    if (Por::Util::HasTrait(pattern, ObjectIdTrait))
    {
        return true;
    }
    const std::optional<Por::PathWithUnit> key = FindObjectKeyLocation(pattern);
    return key.has_value() && Por::Util::HasTrait(key->GetUnit(), ObjectIdTrait);
}

} // namespace Dml
