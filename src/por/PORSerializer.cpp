#include "por/PORSerializer.h"

#include "common/CatalogIds.h"
#include "common/SafeAssert.h"
#include "common/Utf8.h"
#include "por/Errors.h"
#include "por/Path.h"
#include "por/TraitUtil.h"
#include "por/UnitAccess.h"
#include "por/Values.h"

#include <optional>
#include <string>
#include <utility>

namespace Por::Serialization
{
namespace Detail
{
namespace
{

std::string Narrow(Name name)
{
    std::string narrow;
    Common::WideToUtf8(narrow, name.data(), name.size());
    return narrow;
}

} // namespace

// One open bracket of the writer: it takes the finished children and, when closed, makes the unit for
// its parent.
class ProcessingNode
{
public:
    ProcessingNode(Name name, Common::WideString path, const Construction::UnitFactory& factory)
        : NodeName(name), Path(std::move(path)), Factory(factory)
    {
    }
    ProcessingNode(const ProcessingNode&) = delete;
    ProcessingNode& operator=(const ProcessingNode&) = delete;
    virtual ~ProcessingNode() = default;

    // A finished child of this bracket.
    virtual void Process(Name name, UnitPtr unit) = 0;
    // Where a child named `name` will stand, as messages show it.
    virtual Common::WideString ChildPath(Name) const { return Path; }

    // The unit for the parent, with the traits written inside the bracket.
    UnitPtr Close()
    {
        UnitPtr unit = Finalize();
        for (auto& [name, value] : Traits)
        {
            Util::AddTrait(*unit, name, std::move(value), Factory);
        }
        Traits.clear();
        return unit;
    }
    void AddTrait(std::string name, UnitPtr value) { Traits.emplace_back(std::move(name), std::move(value)); }
    const Common::WideString& GetName() const { return NodeName; }

protected:
    virtual UnitPtr Finalize() = 0;

    // The path, or the name of the root, whose path is empty.
    Common::WideStringView Describe() const { return Path.empty() ? NodeName : Path; }
    Common::Error Failure(const char* function, Common::WideTextId text, Name name = {}) const
    {
        return MakeError(COMMON_LOCATION(function), ErrorCodes::SerializationFailed, text,
                         {Describe(), name});
    }
    UnitPtr MakeEmpty() const
    {
        UnitPtr unit = Factory.CreateNil();
        Util::AddTrait(*unit, "IsEmpty", Factory);
        return unit;
    }
    // Keeps the traits of an inner optional (or pointer) apart from those the enclosing node adds.
    UnitPtr Wrap(UnitPtr unit) const
    {
        UnitPtr wrapper = Factory.CreateComposite();
        Util::AddProperty(*wrapper, "value", std::move(unit), Factory);
        Util::AddTrait(*wrapper, "IsRecursive", Factory);
        return wrapper;
    }

    const Common::WideString NodeName;
    const Common::WideString Path;
    const Construction::UnitFactory& Factory;

private:
    std::vector<std::pair<std::string, UnitPtr>> Traits;
};

// A single value: the root, or a value bracket.
class SimpleNode : public ProcessingNode
{
public:
    using ProcessingNode::ProcessingNode;
    void Process(Name, UnitPtr unit) override { Kept = std::move(unit); }

protected:
    UnitPtr Finalize() override
    {
        if (Kept == nullptr)
        {
            throw Failure("Por::Serialization::SimpleNode::Finalize", Common::Texts::PorSerializeNoValue);
        }
        return std::move(Kept);
    }

    UnitPtr Kept;
};

class CompositeNode final : public ProcessingNode
{
public:
    CompositeNode(Name name, Common::WideString path, const Construction::UnitFactory& factory)
        : ProcessingNode(name, std::move(path), factory), Composite(factory.CreateComposite())
    {
    }
    void Process(Name name, UnitPtr unit) override
    {
        Util::AddProperty(*Composite, Narrow(name), std::move(unit), Factory);
    }
    Common::WideString ChildPath(Name name) const override
    {
        return Util::MakePropertyPath(Path, Narrow(name));
    }

protected:
    UnitPtr Finalize() override { return std::move(Composite); }

private:
    UnitPtr Composite;
};

class ContainerNode final : public ProcessingNode
{
public:
    ContainerNode(Name name, Common::WideString path, const Construction::UnitFactory& factory, Name kind)
        : ProcessingNode(name, std::move(path), factory), Array(factory.CreateArray()), Kind(kind)
    {
    }
    void Process(Name, UnitPtr unit) override { Util::GetArray(*Array).PushBack(std::move(unit)); }
    Common::WideString ChildPath(Name) const override
    {
        return Util::MakeElementPath(Path, Util::GetArray(*Array).Size());
    }

protected:
    UnitPtr Finalize() override
    {
        Util::AddTrait(*Array, "IsContainer", Factory.CreateString(Kind), Factory);
        return std::move(Array);
    }

private:
    UnitPtr Array;
    const Common::WideString Kind;
};

// A polymorphic value: its category and its class become the class's composite marked with the
// category; anything else is kept as a composite of what was written.
class BridgeNode final : public ProcessingNode
{
public:
    using ProcessingNode::ProcessingNode;
    void Process(Name name, UnitPtr unit) override
    {
        Children.emplace_back(Common::WideString(name), std::move(unit));
    }
    Common::WideString ChildPath(Name name) const override
    {
        return name == ::Serialization::Names::CheckedType ? Util::MakeTraitPath(Path, "IsPolymorph") : Path;
    }

protected:
    UnitPtr Finalize() override
    {
        UnitPtr type = Find(::Serialization::Names::CheckedType);
        UnitPtr object = Find(::Serialization::Names::Value);
        if (Children.size() == 2 && type != nullptr && object != nullptr && Util::IsComposite(*object))
        {
            Util::AddTrait(*object, "IsPolymorph", std::move(type), Factory);
            return object;
        }
        UnitPtr composite = Factory.CreateComposite();
        for (auto& [name, unit] : Children)
        {
            Util::AddProperty(*composite, Narrow(name), std::move(unit), Factory);
        }
        return composite;
    }

private:
    UnitPtr Find(Name name) const
    {
        for (const auto& [childName, unit] : Children)
        {
            if (childName == name)
            {
                return unit;
            }
        }
        return nullptr;
    }

    std::vector<std::pair<Common::WideString, UnitPtr>> Children;
};

class RawPtrNode : public ProcessingNode
{
public:
    RawPtrNode(Name name, Common::WideString path, const Construction::UnitFactory& factory,
               Name reference = ::Serialization::Names::RawPtr)
        : ProcessingNode(name, std::move(path), factory), Reference(reference)
    {
    }
    void Process(Name name, UnitPtr unit) override
    {
        if (name == ::Serialization::Names::PtrMark)
        {
            Mark = std::move(unit);
        }
        else if (name == ::Serialization::Names::PtrValue)
        {
            // An inner optional or pointer would share "IsEmpty" and "ptr_mark" with this one.
            const bool nested = Util::HasTrait(*unit, "IsOptional") || Util::HasTrait(*unit, "IsReference");
            Kept = nested ? Wrap(std::move(unit)) : std::move(unit);
        }
        else
        {
            throw Failure("Por::Serialization::RawPtrNode::Process",
                          Common::Texts::PorSerializePointerUnrecognized, name);
        }
    }
    Common::WideString ChildPath(Name name) const override
    {
        return name == ::Serialization::Names::PtrMark ? Util::MakeTraitPath(Path, "ptr_mark") : Path;
    }

protected:
    UnitPtr Finalize() override
    {
        UnitPtr unit = Kept != nullptr ? std::move(Kept) : MakeEmpty();
        Util::AddTrait(*unit, "IsReference", Factory.CreateString(Common::WideString(Reference)), Factory);
        if (Mark != nullptr)
        {
            Util::AddTrait(*unit, "ptr_mark", std::move(Mark), Factory);
        }
        return unit;
    }

private:
    const Name Reference;
    UnitPtr Kept;
    UnitPtr Mark;
};

class SmartPtrNode final : public RawPtrNode
{
public:
    SmartPtrNode(Name name, Common::WideString path, const Construction::UnitFactory& factory)
        : RawPtrNode(name, std::move(path), factory, ::Serialization::Names::SharedPtr)
    {
    }
};

class OptionalTypeNode final : public ProcessingNode
{
public:
    OptionalTypeNode(Name name, Common::WideString path, const Construction::UnitFactory& factory, Name kind)
        : ProcessingNode(name, std::move(path), factory), Kind(kind)
    {
    }
    void Process(Name name, UnitPtr unit) override
    {
        if (name == ::Serialization::Names::IsNull || name == ::Serialization::Names::IsInit)
        {
            Flags.emplace_back(Narrow(name), std::move(unit));
        }
        else if (name == ::Serialization::Names::Value)
        {
            Kept = Util::HasTrait(*unit, "IsOptional") ? Wrap(std::move(unit)) : std::move(unit);
        }
        else
        {
            throw Failure("Por::Serialization::OptionalTypeNode::Process",
                          Common::Texts::PorSerializeOptionalUnrecognized, name);
        }
    }
    Common::WideString ChildPath(Name name) const override
    {
        return name == ::Serialization::Names::Value ? Path : Util::MakeTraitPath(Path, Narrow(name));
    }

protected:
    UnitPtr Finalize() override
    {
        UnitPtr unit = Kept != nullptr ? std::move(Kept) : MakeEmpty();
        Util::AddTrait(*unit, "IsOptional", Factory.CreateString(Kind), Factory);
        for (auto& [name, flag] : Flags)
        {
            Util::AddTrait(*unit, name, std::move(flag), Factory);
        }
        Flags.clear();
        return unit;
    }

private:
    const Common::WideString Kind;
    UnitPtr Kept;
    std::vector<std::pair<std::string, UnitPtr>> Flags;
};

} // namespace Detail

namespace
{

std::unique_ptr<Detail::ProcessingNode> MakeRoot(const Construction::UnitFactory& factory)
{
    return std::make_unique<Detail::SimpleNode>(::Serialization::Names::Root, Common::WideString(), factory);
}

} // namespace

PORSerializer::PORSerializer(const Construction::UnitFactory& factory) : Factory(factory)
{
    Stack.push_back(MakeRoot(factory));
    RegisterInterface<::Serialization::Serializer>(this);
    RegisterInterface<PorAwareSerializer>(this);
    RegisterInterface<PORSerializer>(this);
}

PORSerializer::~PORSerializer() = default;

void PORSerializer::Write(Name name, bool value)
{
    Deliver(name, Factory.CreateBoolean(value));
}
void PORSerializer::Write(Name name, std::uint8_t value)
{
    Deliver(name, Factory.CreateByte(value));
}
void PORSerializer::Write(Name name, std::int8_t value)
{
    Deliver(name, Factory.CreateSByte(value));
}
void PORSerializer::Write(Name name, std::uint16_t value)
{
    Deliver(name, Factory.CreateWord(value));
}
void PORSerializer::Write(Name name, std::int16_t value)
{
    Deliver(name, Factory.CreateSWord(value));
}
void PORSerializer::Write(Name name, std::uint32_t value)
{
    Deliver(name, Factory.CreateDWord(value));
}
void PORSerializer::Write(Name name, std::int32_t value)
{
    Deliver(name, Factory.CreateSDWord(value));
}
void PORSerializer::Write(Name name, std::uint64_t value)
{
    Deliver(name, Factory.CreateQWord(value));
}
void PORSerializer::Write(Name name, std::int64_t value)
{
    Deliver(name, Factory.CreateSQWord(value));
}
void PORSerializer::Write(Name name, double value)
{
    Deliver(name, Factory.CreateDouble(value));
}
void PORSerializer::Write(Name name, const std::vector<std::uint8_t>& value)
{
    Deliver(name, Factory.CreateBlob(value));
}
void PORSerializer::Write(Name name, const Common::Guid& value)
{
    Deliver(name, Factory.CreateGuid(value));
}
void PORSerializer::Write(Name name, const Common::WideString& value)
{
    Deliver(name, Factory.CreateString(value));
}
void PORSerializer::Write(Name name, const Common::Error& value)
{
    Deliver(name, Factory.CreateError(value));
}

void PORSerializer::WriteUnit(Name name, const View::Unit& unit)
{
    Deliver(name, Util::Copy(unit, Factory));
}

void PORSerializer::BeginValue(Name name)
{
    Push(std::make_unique<Detail::SimpleNode>(name, Stack.back()->ChildPath(name), Factory));
}

void PORSerializer::BeginClass(Name name)
{
    Push(std::make_unique<Detail::CompositeNode>(name, Stack.back()->ChildPath(name), Factory));
}

void PORSerializer::BeginPolymorph(Name name)
{
    Push(std::make_unique<Detail::BridgeNode>(name, Stack.back()->ChildPath(name), Factory));
}

void PORSerializer::BeginContainer(Name name, Name kind)
{
    Push(std::make_unique<Detail::ContainerNode>(name, Stack.back()->ChildPath(name), Factory, kind));
}

void PORSerializer::BeginPointer(Name name, Name kind)
{
    SAFE_ASSERT(kind == ::Serialization::Names::RawPtr || kind == ::Serialization::Names::SharedPtr);
    Common::WideString path = Stack.back()->ChildPath(name);
    if (kind == ::Serialization::Names::SharedPtr)
    {
        Push(std::make_unique<Detail::SmartPtrNode>(name, std::move(path), Factory));
    }
    else
    {
        Push(std::make_unique<Detail::RawPtrNode>(name, std::move(path), Factory));
    }
}

void PORSerializer::BeginOptional(Name name, Name kind)
{
    Push(std::make_unique<Detail::OptionalTypeNode>(name, Stack.back()->ChildPath(name), Factory, kind));
}

void PORSerializer::End()
{
    if (Stack.size() < 2)
    {
        SAFE_ASSERT_TEXT(false, "PORSerializer: End without an open bracket");
        return;
    }
    // Closed before it is popped: a node that fails stays open, as the failure left it.
    UnitPtr unit = Stack.back()->Close();
    const Common::WideString name = Stack.back()->GetName();
    Stack.pop_back();
    Deliver(name, std::move(unit));
}

void PORSerializer::WriteTrait(Name name)
{
    Stack.back()->AddTrait(Detail::Narrow(name), Factory.CreateNil());
}

void PORSerializer::WriteTrait(Name name, Common::WideStringView value)
{
    Stack.back()->AddTrait(Detail::Narrow(name), Factory.CreateString(Common::WideString(value)));
}

void PORSerializer::WriteVersion(std::uint32_t version)
{
    Stack.back()->AddTrait("Version", Factory.CreateDWord(version));
}

std::uint64_t PORSerializer::MarkPointer(const void* address)
{
    if (address == nullptr)
    {
        return 0;
    }
    return Marks.try_emplace(address, Marks.size() + 1).first->second;
}

UnitPtr PORSerializer::Result()
{
    SAFE_ASSERT_TEXT(Stack.size() == 1, "PORSerializer: brackets left open");
    while (Stack.size() > 1)
    {
        End();
    }
    UnitPtr unit = Stack.front()->Close();
    Stack.front() = MakeRoot(Factory);
    Marks.clear();
    return unit;
}

void PORSerializer::Deliver(Name name, UnitPtr unit)
{
    Stack.back()->Process(name, std::move(unit));
}

void PORSerializer::Push(std::unique_ptr<Detail::ProcessingNode> node)
{
    Stack.push_back(std::move(node));
}

} // namespace Por::Serialization
