#include "por/BaseObject.h"

#include "common/CatalogIds.h"
#include "por/Errors.h"
#include "por/MatchingPatternFinalizer.h"
#include "por/Merge.h"
#include "por/Path.h"
#include "por/TraitUtil.h"
#include "por/Values.h"

#include <vector>

namespace Por
{
namespace
{

Common::Error UninitializedObject(const char* function)
{
    return MakeError(COMMON_LOCATION(function), ErrorCodes::General, Common::Texts::PorUninitializedObject);
}

// The units from `node` down to `target`, found by identity: the tree keeps no parent pointers.
bool FindChain(Construction::Unit& node, const Construction::Unit* target,
               std::vector<Construction::Unit*>& chain)
{
    chain.push_back(&node);
    if (&node == target)
    {
        return true;
    }
    bool found = false;
    if (Construction::CompositeValue* composite = Util::FindComposite(node))
    {
        auto descend = MakeProcessor<Construction::Property>(
            [&](Construction::Property& property)
            { return found = FindChain(property.GetValue(), target, chain); });
        composite->ForEach(descend);
    }
    else if (Util::IsArray(node))
    {
        auto descend = MakeProcessor<Construction::Unit>(
            [&](Construction::Unit& element) { return found = FindChain(element, target, chain); });
        Util::GetArray(node).ForEach(descend);
    }
    if (!found)
    {
        chain.pop_back();
    }
    return found;
}

} // namespace

BaseObject::BaseObject() = default;

BaseObject::BaseObject(UnitPtr root, const Construction::UnitFactory& factory, ErrorHandler* handler,
                       DefaultValueFunction defaultValue)
    : RootUnit(std::move(root)), BranchUnit(RootUnit.get()), UnitFactory(&factory),
      ErrorHandlerPointer(handler != nullptr ? handler : &ThrowingErrorHandler::Instance()),
      DefaultFunction(defaultValue)
{
}

BaseObject::BaseObject(const BaseObject& parent, Construction::Unit& branch) : BaseObject(parent)
{
    Root(); // a branch needs a root that keeps it alive
    BranchUnit = &branch;
}

UnitPtr BaseObject::Copy(const Construction::UnitFactory& factory) const
{
    return Util::Copy(Branch(), factory);
}

UnitPtr BaseObject::DefaultValue(std::string_view name) const
{
    if (DefaultFunction == nullptr)
    {
        throw MakeError(COMMON_LOCATION("Por::BaseObject::DefaultValue"), ErrorCodes::General,
                        Common::Texts::PorInternalError);
    }
    return DefaultFunction(name, Factory());
}

const UnitPtr& BaseObject::Root() const
{
    if (RootUnit == nullptr)
    {
        throw UninitializedObject("Por::BaseObject::Root");
    }
    return RootUnit;
}

Construction::Unit& BaseObject::Branch() const
{
    if (BranchUnit == nullptr)
    {
        throw UninitializedObject("Por::BaseObject::Branch");
    }
    return *BranchUnit;
}

const Construction::UnitFactory& BaseObject::Factory() const
{
    if (UnitFactory == nullptr)
    {
        throw UninitializedObject("Por::BaseObject::Factory");
    }
    return *UnitFactory;
}

ErrorHandler& BaseObject::Handler() const
{
    if (ErrorHandlerPointer == nullptr)
    {
        throw UninitializedObject("Por::BaseObject::Handler");
    }
    return *ErrorHandlerPointer;
}

bool BaseObject::IsSet(std::string_view name) const
{
    const View::Unit* value = Util::FindPropertyValue(static_cast<const View::Unit&>(Branch()), name);
    return value != nullptr && !Util::HasTrait(*value, NilTraitName);
}

void BaseObject::ClearNil(std::string_view name)
{
    if (Construction::Unit* value = Util::FindPropertyValue(Branch(), name))
    {
        Util::RemoveTrait(*value, NilTraitName);
    }
}

UnitPtr BaseObject::ToUnit() const
{
    UnitPtr copy = Util::Copy(Branch(), Factory());
    Util::PathCollector marked;
    Util::EnumerateTraitPaths(*copy, NilTraitName, marked);
    // Reverse depth-first order removes descendants before their ancestors and later array elements
    // before earlier ones, so no removal shifts an index still to be used. A path already gone is no
    // failure: RemoveAtPath just answers false.
    for (auto path = marked.Paths.rbegin(); path != marked.Paths.rend(); ++path)
    {
        Util::RemoveAtPath(*copy, *path);
    }
    Util::RemoveTrait(*copy, NilTraitName); // the branch itself stays, as a value
    return copy;
}

void BaseObject::Merge(const View::Unit& diff)
{
    Util::ApplyDiff(Branch(), diff, Factory());
}

ConstUnitPtr BaseObject::ToPattern() const
{
    UnitPtr pattern = ToUnit();
    MatchingPatternFinalizer(Factory()).Finalize(*pattern);
    return pattern;
}

void BaseObject::SetUnit(std::string_view name, UnitPtr value)
{
    Util::AddProperty(Branch(), name, std::move(value), Factory());
    ClearNil(name);
    ClearNilFromRootToBranch();
}

void BaseObject::SetNil(std::string_view name, UnitPtr value)
{
    Util::BasicOperations::EnsureNotNull(value.get());
    Util::AddTrait(*value, NilTraitName, Factory());
    Util::AddProperty(Branch(), name, std::move(value), Factory());
}

Construction::Unit* BaseObject::GetPropertyUnit(std::string_view name) const
{
    Construction::Unit* value = Util::FindPropertyValue(Branch(), name);
    if (value == nullptr)
    {
        Handler().PropertyNotFound(name);
    }
    return value;
}

void BaseObject::ClearNilFromRootToBranch()
{
    std::vector<Construction::Unit*> chain;
    if (BranchUnit == RootUnit.get())
    {
        chain.push_back(BranchUnit);
    }
    else if (!FindChain(*Root(), BranchUnit, chain))
    {
        return; // the branch was replaced in the root: nothing above it to clear
    }
    for (Construction::Unit* unit : chain)
    {
        Util::RemoveTrait(*unit, NilTraitName);
    }
}

} // namespace Por
