#include "common/DynamicCaster.h"

namespace Common
{

void* DynamicCasterImpl::Cast(const char* typeName) const
{
    if (typeName == nullptr)
    {
        return nullptr;
    }
    const auto found = Table.find(std::string_view(typeName));
    return found != Table.end() ? found->second : nullptr;
}

void DynamicCasterImpl::Register(const char* typeName, void* pointer)
{
    if (typeName == nullptr || pointer == nullptr)
    {
        return;
    }
    Table[typeName] = pointer;
}

} // namespace Common
