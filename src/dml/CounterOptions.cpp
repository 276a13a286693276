#include "dml/CounterOptions.h"

#include "dml/ObjectKey.h"
#include "dml/OptionSections.h"
#include "dml/QueryOptionNames.h"
#include "por/TraitUtil.h"
#include "por/UnitAccess.h"

namespace Dml::Query
{

void SetCounter(Por::Modification::Unit& options, const Por::Construction::UnitFactory& factory)
{
    Por::UnitPtr counterTemplate = factory.CreateComposite();
    Por::Construction::Unit& id =
        Por::Util::AddProperty(*counterTemplate, Names::ID, factory.CreateGuid(Common::NullGuid), factory);
    Por::Util::AddTrait(id, "PrimaryKey", factory);
    GetObjectKey(*counterTemplate); // the store finds the counter object by this key
    Por::Modification::Unit& counter =
        Detail::GetOrCreate(options, Names::Counter, Por::ValueKind::Composite, factory);
    Detail::ReplaceOption(counter, Names::CounterObjectTemplate, std::move(counterTemplate), factory);
}

const Por::View::Unit* GetCounterTemplate(const Por::View::Unit& options)
{
    const Por::View::Unit* counter = Por::Util::FindPropertyValue(options, Names::Counter);
    return counter != nullptr ? Por::Util::FindPropertyValue(*counter, Names::CounterObjectTemplate)
                              : nullptr;
}

std::uint32_t GetCounterValue(const Por::View::Unit& object)
{
    const Por::View::Unit* value = Por::Util::FindPropertyValue(object, Names::CounterValue);
    return value != nullptr ? Por::Util::GetValue<std::uint32_t>(*value) : 0;
}

Por::UnitPtr MakeCounterObject(std::uint32_t value, const Por::View::Unit& counterTemplate,
                               const Por::Construction::UnitFactory& factory)
{
    Por::UnitPtr object = Por::Util::Copy(counterTemplate, factory);
    Por::Util::AddProperty(*object, Names::CounterValue, factory.CreateDWord(value), factory);
    return object;
}

} // namespace Dml::Query
