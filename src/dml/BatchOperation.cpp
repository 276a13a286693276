#include "dml/BatchOperation.h"

#include "por/UnitAccess.h"
#include "por/Values.h"

namespace Dml::Operation
{

DML_DEFINE_OPERATION(BatchOperation, Definition)

void BatchOperation::WriteSchema(Por::Serialization::PorAwareSerializer& serializer)
{
    Definition::WriteSchema(serializer);
    Detail::WriteIs(serializer, TypeName);
    Detail::WriteUnitProperty(serializer, "Operations");
}

std::vector<Por::UnitPtr> BatchOperation::GetOperations() const
{
    std::vector<Por::UnitPtr> operations;
    const Por::UnitPtr array = GetUnitProperty("Operations");
    if (array != nullptr && Por::Util::IsArray(*array))
    {
        Por::Construction::ArrayValue& items = Por::Util::GetArray(*array);
        for (std::size_t i = 0; i < items.Size(); ++i)
        {
            operations.push_back(items.GetPointer(i));
        }
    }
    return operations;
}

void BatchOperation::SetOperations(const std::vector<Por::ConstUnitPtr>& operations)
{
    Por::UnitPtr array = Factory().CreateArray();
    Por::Construction::ArrayValue& items = Por::Util::GetArray(*array);
    for (const Por::ConstUnitPtr& operation : operations)
    {
        if (operation != nullptr)
        {
            items.PushBack(Por::Util::Copy(*operation, Factory()));
        }
    }
    SetUnit("Operations", std::move(array));
}

} // namespace Dml::Operation
