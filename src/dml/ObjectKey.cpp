#include "dml/ObjectKey.h"

#include "dml/Errors.h"
#include "por/BaseObject.h"
#include "por/ItemProcessor.h"
#include "por/UnitAccess.h"
#include "por/Values.h"

#include <cstddef>
#include <string_view>
#include <variant>
#include <vector>

namespace Dml
{
namespace
{

constexpr std::string_view PrimaryKeyTrait = "PrimaryKey";

// The search for the key: the unit face walks the tree, the trait face keeps the value of each
// "PrimaryKey" trait of the unit at hand. The steps to the current unit are kept as names and indexes
// and turned into a path only for the hit.
class ExtractKeyObject final : public Por::ItemProcessor<const Por::View::Unit>,
                               public Por::ItemProcessor<const Por::View::Trait>
{
public:
    const Por::View::Unit* Found = nullptr;
    bool IsTraitValue = false;

    // True when the key was found.
    bool Search(const Por::View::Unit& unit) { return Process(unit); }

    Common::WideString GetPath() const
    {
        Common::WideString path;
        for (const Step& step : Steps)
        {
            if (const auto* name = std::get_if<std::string_view>(&step))
            {
                path = Por::Util::MakePropertyPath(path, *name);
            }
            else
            {
                path = Por::Util::MakeElementPath(path, std::get<std::size_t>(step));
            }
        }
        return path;
    }

    bool Process(const Por::View::Unit& unit) override
    {
        unit.GetTraits().ForEachNamed(PrimaryKeyTrait, *this);
        if (Found != nullptr)
        {
            if (Por::Util::IsNil(*Found))
            {
                Found = &unit;
            }
            else
            {
                IsTraitValue = true;
            }
            return true;
        }
        return Descend(unit);
    }

    bool Process(const Por::View::Trait& trait) override
    {
        Found = &trait.GetValue();
        return false;
    }

private:
    using Step = std::variant<std::string_view, std::size_t>;

    bool Descend(const Por::View::Unit& unit)
    {
        if (const Por::View::CompositeValue* composite = Por::Util::FindComposite(unit))
        {
            auto each = Por::MakeProcessor<const Por::View::Property>(
                [this](const Por::View::Property& property)
                { return Enter(property.GetName(), property.GetValue()); });
            composite->ForEach(each);
            return Found != nullptr;
        }
        if (const Por::View::ArrayValue* array = Por::Util::FindArray(unit))
        {
            for (std::size_t i = 0; i < array->Size(); ++i)
            {
                if (Enter(i, array->Get(i)))
                {
                    return true;
                }
            }
        }
        return false;
    }

    // The path stays at the hit.
    bool Enter(Step step, const Por::View::Unit& unit)
    {
        Steps.push_back(step);
        if (Process(unit))
        {
            return true;
        }
        Steps.pop_back();
        return false;
    }

    std::vector<Step> Steps;
};

} // namespace

const Por::View::Unit& GetObjectKey(const Por::View::Unit& object)
{
    ExtractKeyObject search;
    if (!search.Search(object))
    {
        throw Errors::MakeObjectKeyNotFound(COMMON_LOCATION("Dml::GetObjectKey"));
    }
    return *search.Found;
}

const Por::View::Unit& GetObjectPtrKey(const Por::ConstUnitPtr& object)
{
    if (object == nullptr)
    {
        throw Errors::MakeNullPointer(COMMON_LOCATION("Dml::GetObjectPtrKey"));
    }
    return GetObjectKey(*object);
}

const Por::View::Unit& GetObjectBaseKey(const Por::BaseObject& object)
{
    return GetObjectPtrKey(object.Root());
}

bool HasObjectKey(const Por::View::Unit& object)
{
    ExtractKeyObject search;
    return search.Search(object);
}

Por::ConstUnit FindObjectKey(const Por::ConstUnit& object, Common::WideString& path)
{
    const Por::View::Unit* unit = object.Find();
    if (unit == nullptr)
    {
        throw Errors::MakeNullPointer(COMMON_LOCATION("Dml::FindObjectKey"));
    }
    ExtractKeyObject search;
    if (!search.Search(*unit))
    {
        throw Errors::MakeObjectKeyNotFound(COMMON_LOCATION("Dml::FindObjectKey"));
    }
    path = search.GetPath();
    if (search.IsTraitValue)
    {
        return Por::ConstUnit(Por::Util::Copy(*search.Found, object.GetFactory()), &object.GetFactory());
    }
    if (path.empty())
    {
        return object;
    }
    return object[Common::WideStringView(path)];
}

std::optional<Por::PathWithUnit> FindObjectKeyLocation(const Por::View::Unit& object)
{
    ExtractKeyObject search;
    if (!search.Search(object))
    {
        return std::nullopt;
    }
    Common::WideString path = search.GetPath();
    if (search.IsTraitValue)
    {
        path = Por::Util::MakeTraitPath(path, PrimaryKeyTrait);
    }
    return Por::PathWithUnit(std::move(path), Por::Util::Copy(*search.Found, Por::GetUnitFactory()));
}

} // namespace Dml
