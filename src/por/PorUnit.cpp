#include "por/PorUnit.h"

#include "common/StringConversion.h"
#include "por/Errors.h"
#include "por/Path.h"
#include "por/TraitUtil.h"

#include <charconv>
#include <ostream>

namespace Por
{
namespace Detail
{

// The tree of a family of handles. Assigning at the root replaces the tree, so the handles hold this
// cell rather than the tree itself.
struct UnitRoot
{
    UnitPtr Tree;
    std::shared_ptr<View::SafeUnitHolder> Holder;

    void Replace(UnitPtr tree)
    {
        Tree = std::move(tree);
        Holder->Reset(Tree);
    }
};

} // namespace Detail

namespace
{

const Construction::UnitFactory& PorViewFactory()
{
    const Construction::UnitFactory* factory = nullptr;
    GetPorViewUnitFactory(&factory);
    return factory != nullptr ? *factory : GetUnitFactory();
}

bool IsSeparator(char16_t c)
{
    return c == u'.' || c == u'^';
}

struct LastStep
{
    Common::WideStringView Parent;
    char16_t Separator;
    Common::WideStringView Token;
};

// Splits off the last step by the resolving walk's rule: two equal separators in a row belong to the
// token. A path without a leading separator starts with a property step.
LastStep SplitLastStep(Common::WideStringView path)
{
    std::size_t last = 0;
    bool separated = !path.empty() && IsSeparator(path.front());
    for (std::size_t i = separated ? 1 : 0; i < path.size(); ++i)
    {
        if (!IsSeparator(path[i]))
        {
            continue;
        }
        if (i + 1 < path.size() && path[i + 1] == path[i])
        {
            ++i;
            continue;
        }
        last = i;
        separated = true;
    }
    if (!separated)
    {
        return {{}, u'.', path};
    }
    return {path.substr(0, last), path[last], path.substr(last + 1)};
}

Construction::Unit* FindAt(const Detail::UnitRoot& root, Common::WideStringView path)
{
    return Util::DataAccessor(root.Tree.get(), Common::WideString(path)).Find();
}

Construction::Unit& PlaceAt(Detail::UnitRoot& root, Common::WideStringView path, UnitPtr value,
                            const Construction::UnitFactory& factory);

// The node that receives a step below `path`, made on the way: a missing or nil node becomes a
// composite (a nil one keeping its traits); a trait step takes any node, a missing one made nil.
Construction::Unit& ContainerAt(Detail::UnitRoot& root, Common::WideStringView path, char16_t separator,
                                const Construction::UnitFactory& factory)
{
    Construction::Unit* node = FindAt(root, path);
    if (node != nullptr && (separator == u'^' || Util::IsComposite(*node) || Util::IsArray(*node)))
    {
        return *node;
    }
    if (node != nullptr && !Util::IsNil(*node))
    {
        throw Errors::UnitCompositeExpected(path);
    }
    UnitPtr container = separator == u'^' ? factory.CreateNil() : factory.CreateComposite();
    if (node != nullptr)
    {
        Util::CopyTraits(node->GetTraits(), container->GetTraits(), factory);
    }
    return PlaceAt(root, path, std::move(container), factory);
}

void PlaceInArray(Construction::Unit& array, const LastStep& step, const std::string& token, UnitPtr value)
{
    std::size_t index = 0;
    const auto [end, failure] = std::from_chars(token.data(), token.data() + token.size(), index);
    if (token.empty() || failure != std::errc() || end != token.data() + token.size())
    {
        throw Errors::UnitMissingPropertyAccess(Common::WideString(step.Parent) + step.Separator +
                                                Common::WideString(step.Token));
    }
    Construction::ArrayValue& elements = Util::GetArray(array);
    if (index > elements.Size())
    {
        throw Errors::ArrayUnitIndexAccess(step.Parent, index);
    }
    if (index < elements.Size())
    {
        elements.RemoveAt(index);
    }
    elements.Insert(index, std::move(value));
}

Construction::Unit& PlaceAt(Detail::UnitRoot& root, Common::WideStringView path, UnitPtr value,
                            const Construction::UnitFactory& factory)
{
    Util::BasicOperations::EnsureNotNull(value.get());
    Construction::Unit& placed = *value;
    if (path.empty())
    {
        root.Replace(std::move(value));
        return placed;
    }
    const LastStep step = SplitLastStep(path);
    Construction::Unit& parent = ContainerAt(root, step.Parent, step.Separator, factory);
    const std::string name = Core::ConvertToUtf8(Util::UnescapeToken(step.Token));
    if (step.Separator == u'^')
    {
        parent.GetTraits().Remove(name);
        parent.GetTraits().Add(factory.CreateTrait(name, std::move(value)));
    }
    else if (Util::IsArray(parent))
    {
        PlaceInArray(parent, step, name, std::move(value));
    }
    else
    {
        Util::AddProperty(parent, name, std::move(value), factory);
    }
    return placed;
}

} // namespace

Unit::Unit() : Unit(PorViewFactory()) {}

Unit::Unit(const Construction::UnitFactory& factory) : Unit(factory.CreateNil(), factory) {}

Unit::Unit(UnitPtr root, const Construction::UnitFactory& factory)
{
    Root = std::make_shared<Detail::UnitRoot>();
    Root->Tree = root != nullptr ? std::move(root) : factory.CreateNil();
    Root->Holder = std::make_shared<View::SafeUnitHolder>(Root->Tree);
    Reader = ConstUnit(Root->Holder, {}, &factory);
}

Unit::Unit(std::shared_ptr<Detail::UnitRoot> root, ConstUnit reader)
    : Root(std::move(root)), Reader(std::move(reader))
{
}

Unit Unit::Array(const Construction::UnitFactory& factory)
{
    return Unit(factory.CreateArray(), factory);
}

Unit Unit::Composite(const Construction::UnitFactory& factory)
{
    return Unit(factory.CreateComposite(), factory);
}

Unit& Unit::operator=(const Unit& other)
{
    Place(other.Reader.Copy());
    return *this;
}

Unit& Unit::operator=(const ConstUnit& value)
{
    Place(value.Copy());
    return *this;
}

Unit& Unit::operator=(const View::Unit& value)
{
    Place(Util::Copy(value, GetFactory()));
    return *this;
}

Unit Unit::operator[](std::string_view nameOrPath) const
{
    return Unit(Root, Reader[nameOrPath]);
}

Unit Unit::operator[](Common::WideStringView nameOrPath) const
{
    return Unit(Root, Reader[nameOrPath]);
}

Unit Unit::At(std::size_t index) const
{
    return Unit(Root, ConstUnit(Reader.GetHolder(), Util::MakeElementPath(GetPath(), index), &GetFactory()));
}

Unit& Unit::SetTrait(std::string_view name, const View::Unit& value)
{
    UnitPtr copy = Util::Copy(value, GetFactory()); // first: `value` may be the trait replaced
    Construction::Unit* node = FindNode();
    if (node == nullptr)
    {
        node = &Place(GetFactory().CreateNil());
    }
    Util::RemoveTrait(*node, name);
    Util::AddTrait(*node, name, std::move(copy), GetFactory());
    return *this;
}

Unit& Unit::AddTrait(std::string_view name, const View::Unit& value)
{
    UnitPtr copy = Util::Copy(value, GetFactory());
    Construction::Unit* node = FindNode();
    Util::AddTrait(node != nullptr ? *node : Place(GetFactory().CreateNil()), name, std::move(copy),
                   GetFactory());
    return *this;
}

Unit& Unit::AddTrait(std::string_view name)
{
    return AddTrait(name, *GetFactory().CreateNil());
}

Unit& Unit::SetDefault(const View::Unit& value)
{
    PlaceIfNoValue(Util::Copy(value, GetFactory()));
    return *this;
}

Unit& Unit::EnsureComposite()
{
    PlaceIfNoValue(GetFactory().CreateComposite());
    return *this;
}

Unit& Unit::PushBack(const View::Unit& value)
{
    UnitPtr copy = Util::Copy(value, GetFactory());
    PlaceIfNoValue(GetFactory().CreateArray());
    Util::GetArray(*FindNode()).PushBack(std::move(copy));
    return *this;
}

bool Unit::HasValue() const
{
    const View::Unit* node = Reader.Find();
    return node != nullptr && !Util::IsNil(*node);
}

Util::DataAccessor Unit::Accessor() const
{
    return Util::DataAccessor(Root->Tree.get(), GetPath());
}

UnitPtr Unit::GetRoot() const
{
    return Root->Tree;
}

Construction::Unit& Unit::Place(UnitPtr value)
{
    return PlaceAt(*Root, GetPath(), std::move(value), GetFactory());
}

void Unit::PlaceIfNoValue(UnitPtr value)
{
    Construction::Unit* node = FindNode();
    if (node != nullptr && !Util::IsNil(*node))
    {
        return;
    }
    if (node != nullptr)
    {
        Util::CopyTraits(node->GetTraits(), value->GetTraits(), GetFactory());
    }
    Place(std::move(value));
}

Construction::Unit* Unit::FindNode() const
{
    return FindAt(*Root, GetPath());
}

std::ostream& operator<<(std::ostream& stream, const Unit& unit)
{
    return stream << unit.AsConst();
}

} // namespace Por
