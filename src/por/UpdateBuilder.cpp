#include "por/UpdateBuilder.h"

#include "por/DiffMarks.h"
#include "por/Path.h"
#include "por/TraitDecorators.h"
#include "por/TraitUtil.h"
#include "por/UnitAccess.h"

namespace Por
{

UpdateBuilder::UpdateBuilder(const Construction::UnitFactory& factory) : Units(factory) {}

void UpdateBuilder::Put(Common::WideStringView path, const View::Unit& unit)
{
    Root = Util::PutUnitInLocationEx(std::move(Root), path, unit, Units);
    Changed = true;
}

UpdateBuilder& UpdateBuilder::Declare(Common::WideStringView path, const View::Unit& unit)
{
    Put(path, AddNilTraitUnit(unit, DiffMarks::StateDeclaration));
    return *this;
}

UpdateBuilder& UpdateBuilder::Apply(Util::StateOperation operation, Common::WideStringView path,
                                    const View::Unit& operand)
{
    // The operand is also the value, which is what a missing property gets.
    Put(path, UnitWithExtraTrait(operand, Util::GetStateTraitName(operation), operand));
    return *this;
}

UpdateBuilder& UpdateBuilder::Increment(Common::WideStringView path, const View::Unit& operand)
{
    return Apply(Util::StateOperation::Increment, path, operand);
}

UpdateBuilder& UpdateBuilder::Decrement(Common::WideStringView path, const View::Unit& operand)
{
    return Apply(Util::StateOperation::Decrement, path, operand);
}

UpdateBuilder& UpdateBuilder::BitwiseAnd(Common::WideStringView path, const View::Unit& operand)
{
    return Apply(Util::StateOperation::BitwiseAnd, path, operand);
}

UpdateBuilder& UpdateBuilder::BitwiseOr(Common::WideStringView path, const View::Unit& operand)
{
    return Apply(Util::StateOperation::BitwiseOr, path, operand);
}

UpdateBuilder& UpdateBuilder::Add(Common::WideStringView path, const View::Unit& unit)
{
    Put(path, AddNilTraitUnit(unit, DiffMarks::Added));
    return *this;
}

UpdateBuilder& UpdateBuilder::Remove(Common::WideStringView path)
{
    const UnitPtr nil = Units.CreateNil();
    Put(path, AddNilTraitUnit(*nil, DiffMarks::Removed));
    return *this;
}

Construction::ArrayValue& UpdateBuilder::ArrayDiffAt(Common::WideStringView path)
{
    const View::Unit* existing = Root != nullptr ? Util::ResolvePath(path, *Root) : nullptr;
    if (existing == nullptr || !Util::IsArray(*existing))
    {
        Put(path, *Units.CreateArray());
    }
    return Util::GetArray(Util::ResolveBranch(path, *Root));
}

UpdateBuilder& UpdateBuilder::AddFront(Common::WideStringView arrayPath, const View::Unit& element)
{
    Construction::ArrayValue& array = ArrayDiffAt(arrayPath);
    array.PushFront(Util::Copy(AddNilTraitUnit(element, DiffMarks::Added), Units));
    return *this;
}

UpdateBuilder& UpdateBuilder::RemoveElement(Common::WideStringView arrayPath, const View::Unit& element)
{
    Construction::ArrayValue& array = ArrayDiffAt(arrayPath);
    array.PushBack(Util::Copy(AddNilTraitUnit(element, DiffMarks::Removed), Units));
    return *this;
}

UnitPtr UpdateBuilder::Result()
{
    UnitPtr diff = std::move(Root);
    if (!Changed)
    {
        diff = Units.CreateNil();
        Util::AddTrait(*diff, DiffMarks::EmptyDiff, Units);
    }
    Util::AddTrait(*diff, DiffMarks::PackedDiff, Units);
    Root = nullptr;
    Changed = false;
    return diff;
}

} // namespace Por
