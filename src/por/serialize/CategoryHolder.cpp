#include "por/serialize/CategoryHolder.h"

#include "common/CatalogIds.h"
#include "common/Utf8.h"
#include "por/Errors.h"

#include <cxxabi.h>

#include <cstdlib>
#include <map>
#include <mutex>
#include <string>

namespace Serialization
{
namespace
{

struct Registry
{
    std::mutex Lock;
    std::map<std::string, CategoryCreator, std::less<>> Creators;
};

Registry& GetRegistry()
{
    static Registry registry;
    return registry;
}

} // namespace

void RegisterCategory(std::string_view category, CategoryCreator creator)
{
    Registry& registry = GetRegistry();
    const std::lock_guard<std::mutex> hold(registry.Lock);
    registry.Creators.insert_or_assign(std::string(category), creator);
}

std::unique_ptr<CategoryHolder> CreateByCategory(std::string_view category)
{
    Registry& registry = GetRegistry();
    CategoryCreator creator = nullptr;
    {
        const std::lock_guard<std::mutex> hold(registry.Lock);
        const auto found = registry.Creators.find(category);
        if (found != registry.Creators.end())
        {
            creator = found->second;
        }
    }
    // Created outside the lock: a constructor may register or create in turn.
    return creator != nullptr ? creator() : nullptr;
}

Common::WideString GetCategoryName(const CategoryHolder& holder)
{
    return Por::Widen(holder.GetCategory());
}

std::unique_ptr<CategoryHolder> CreateByCategory(Common::WideStringView category)
{
    std::string narrow;
    Common::WideToUtf8(narrow, category.data(), category.size());
    return CreateByCategory(std::string_view(narrow));
}

namespace Detail
{

Common::Error MakeCategoryCastError(Common::WideStringView category, const std::type_info& wanted)
{
    int status = 0;
    char* demangled = abi::__cxa_demangle(wanted.name(), nullptr, nullptr, &status);
    const std::string name = status == 0 && demangled != nullptr ? demangled : wanted.name();
    std::free(demangled);
    return Por::MakeError(COMMON_LOCATION("Serialization::Detail::MakeCategoryCastError"),
                          Por::ErrorCodes::CastFailed, Common::Texts::PorBadCast,
                          {category, Por::Widen(name)});
}

} // namespace Detail
} // namespace Serialization
