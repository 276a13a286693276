#include "por/PORDeserializer.h"

#include "common/CatalogIds.h"
#include "common/SafeAssert.h"
#include "common/Utf8.h"
#include "por/Errors.h"
#include "por/Path.h"
#include "por/TraitUtil.h"
#include "por/UnitAccess.h"
#include "por/UnitPrinter.h"
#include "por/Values.h"

#include <string>
#include <vector>

namespace Por::Serialization
{
namespace Detail
{
namespace
{

namespace Names = ::Serialization::Names;

std::string Narrow(Common::WideStringView text)
{
    std::string narrow;
    Common::WideToUtf8(narrow, text.data(), text.size());
    return narrow;
}

// The root's path is empty; messages name it as the printed tree does.
Common::WideStringView Shown(const Common::WideString& path)
{
    return path.empty() ? Common::WideStringView(u"Root") : Common::WideStringView(path);
}

bool IsAbsent(const View::Unit* unit)
{
    return unit == nullptr || Util::HasTrait(*unit, "IsEmpty");
}

// A reader's failure; the unit it was looking at goes along printed, as the sub-error.
Common::Error Failure(const char* function, Common::WideTextId text,
                      std::initializer_list<Common::WideStringView> arguments,
                      const View::Unit* unit = nullptr)
{
    Common::Error error =
        MakeError(COMMON_LOCATION(function), ErrorCodes::DeserializationFailed, text, arguments);
    if (unit != nullptr)
    {
        error.SetSubError(MakeError(COMMON_LOCATION(function), ErrorCodes::DeserializationFailed,
                                    Common::Texts::PorElementNotFoundUnit, {Util::UnitToWideString(unit)}));
    }
    return error;
}

Common::Error SourceMissing()
{
    return Failure("Por::Serialization::PORDeserializer::AcquireUnit", Common::Texts::PorSourceObjectMissing,
                   {});
}

} // namespace

// The resolution rules of the reader, one per kind of request. Each resolves against a unit and its path;
// a missing child is null unless `required`, when it throws.
class NodeProcessor
{
public:
    using Resolved = PORDeserializer::Resolved;

    // The empty name is the unit itself.
    static Resolved ProcessProperty(const View::Unit& unit, const Common::WideString& path,
                                    Common::WideStringView name, bool required)
    {
        if (name.empty())
        {
            return {&unit, path};
        }
        const View::CompositeValue* composite = Util::FindComposite(unit);
        if (composite == nullptr)
        {
            throw Failure("Por::Serialization::NodeProcessor::ProcessProperty",
                          Common::Texts::PorDeserializeNotComposite, {Shown(path)}, &unit);
        }
        const std::string narrow = Narrow(name);
        Common::WideString childPath = Util::MakePropertyPath(path, narrow);
        const View::Property* property = composite->Find(narrow);
        if (property == nullptr)
        {
            if (!required)
            {
                return {};
            }
            throw Failure("Por::Serialization::NodeProcessor::ProcessProperty",
                          Common::Texts::PorDeserializeNoProperty, {childPath, Shown(path)}, &unit);
        }
        return {&property->GetValue(), std::move(childPath)};
    }

    static const View::ArrayValue& ProcessContainer(const Resolved& resolved)
    {
        const View::ArrayValue* array = Util::FindArray(*resolved.Unit);
        if (array == nullptr)
        {
            throw Failure("Por::Serialization::NodeProcessor::ProcessContainer",
                          Common::Texts::PorDeserializeNotContainer, {Shown(resolved.Path)}, resolved.Unit);
        }
        return *array;
    }

    static Resolved ProcessContainerItem(const ::Serialization::ValueIterator<const View::Unit*>& items,
                                         const View::Unit& container, const Common::WideString& path,
                                         bool required)
    {
        const View::Unit* const* item = items.Current();
        if (item == nullptr)
        {
            if (!required)
            {
                return {};
            }
            const Common::WideString index = Widen(std::to_string(items.Index()));
            throw Failure("Por::Serialization::NodeProcessor::ProcessContainerItem",
                          Common::Texts::PorDeserializeNoElement, {Shown(path), index}, &container);
        }
        return {*item, Util::MakeElementPath(path, items.Index())};
    }

    static void ProcessIfOptional(const Resolved& resolved)
    {
        if (!Util::HasTrait(*resolved.Unit, "IsOptional"))
        {
            throw Failure("Por::Serialization::NodeProcessor::ProcessIfOptional",
                          Common::Texts::PorDeserializeNotOptional, {Shown(resolved.Path)}, resolved.Unit);
        }
    }

    static void ProcessIfReference(const Resolved& resolved)
    {
        if (!Util::HasTrait(*resolved.Unit, "IsReference"))
        {
            throw Failure("Por::Serialization::NodeProcessor::ProcessIfReference",
                          Common::Texts::PorDeserializeNotPointer, {Shown(resolved.Path)}, resolved.Unit);
        }
    }

    static Resolved ProcessTraitValue(const View::Unit& unit, const Common::WideString& path,
                                      std::string_view name, bool required)
    {
        Common::WideString traitPath = Util::MakeTraitPath(path, name);
        const View::Unit* value = Util::FindUniqueTraitByName(unit, name);
        if (value == nullptr && required)
        {
            throw Failure("Por::Serialization::NodeProcessor::ProcessTraitValue",
                          Common::Texts::PorDeserializeNoTrait, {traitPath, Shown(path)}, &unit);
        }
        return {value, std::move(traitPath)};
    }

    // Through an "IsRecursive" wrapper to the value it holds.
    static Resolved Unwrap(const View::Unit& unit, const Common::WideString& path, bool required)
    {
        if (Util::HasTrait(unit, "IsRecursive"))
        {
            return ProcessProperty(unit, path, Names::Value, required);
        }
        return {&unit, path};
    }
};

} // namespace Detail

using Detail::IsAbsent;
using Detail::NodeProcessor;
namespace Names = ::Serialization::Names;

PORDeserializer::PORDeserializer(ConstUnitPtr source, const Construction::UnitFactory* factory,
                                 std::uint32_t version)
    : Source(std::move(source)), Factory(factory), Version(version)
{
    RegisterInterface<::Serialization::Deserializer>(this);
    RegisterInterface<PorAwareDeserializer>(this);
    RegisterInterface<PORDeserializer>(this);
}

PORDeserializer::~PORDeserializer() = default;

PORDeserializer::Resolved PORDeserializer::Resolve(Name name, bool required) const
{
    if (Frames.empty())
    {
        if (Source == nullptr && !required)
        {
            return {};
        }
        return {&AcquireUnit(), {}};
    }
    const Frame& top = Frames.back();
    if (top.Unit == nullptr)
    {
        if (!required)
        {
            return {};
        }
        throw Detail::SourceMissing();
    }
    const View::Unit& unit = *top.Unit;
    switch (top.Kind)
    {
    case FrameKind::Value:
        return {&unit, top.Path};
    case FrameKind::Class:
        return NodeProcessor::ProcessProperty(unit, top.Path, name, required);
    case FrameKind::Container:
        return NodeProcessor::ProcessContainerItem(top.Items, unit, top.Path, required);
    case FrameKind::Polymorph:
        // Without the trait the bridge was kept as a composite of its two parts.
        if (!Util::HasTrait(unit, "IsPolymorph"))
        {
            return NodeProcessor::ProcessProperty(unit, top.Path, name, required);
        }
        if (name == Names::CheckedType)
        {
            return NodeProcessor::ProcessTraitValue(unit, top.Path, "IsPolymorph", required);
        }
        return {&unit, top.Path};
    case FrameKind::Pointer:
        if (name == Names::PtrMark)
        {
            return NodeProcessor::ProcessTraitValue(unit, top.Path, "ptr_mark", required);
        }
        return NodeProcessor::Unwrap(unit, top.Path, required);
    case FrameKind::Optional:
        if (name == Names::IsNull || name == Names::IsInit)
        {
            return NodeProcessor::ProcessTraitValue(unit, top.Path, Detail::Narrow(name), required);
        }
        return NodeProcessor::Unwrap(unit, top.Path, required);
    }
    return {};
}

template <typename T>
void PORDeserializer::ReadValue(Name name, T& value)
{
    const Resolved resolved = Resolve(name, true);
    if (IsAbsent(resolved.Unit))
    {
        return;
    }
    const ValueKind kind = GetValueTypeIndex(*resolved.Unit);
    if (kind != KindOfV<T>)
    {
        throw Util::Detail::MakePropertyTypeMismatchError(Detail::Narrow(resolved.Path), KindOfV<T>, kind);
    }
    value = Util::GetValue<T>(*resolved.Unit);
}

void PORDeserializer::Read(Name name, bool& value)
{
    ReadValue(name, value);
}
void PORDeserializer::Read(Name name, std::uint8_t& value)
{
    ReadValue(name, value);
}
void PORDeserializer::Read(Name name, std::int8_t& value)
{
    ReadValue(name, value);
}
void PORDeserializer::Read(Name name, std::uint16_t& value)
{
    ReadValue(name, value);
}
void PORDeserializer::Read(Name name, std::int16_t& value)
{
    ReadValue(name, value);
}
void PORDeserializer::Read(Name name, std::uint32_t& value)
{
    ReadValue(name, value);
}
void PORDeserializer::Read(Name name, std::int32_t& value)
{
    ReadValue(name, value);
}
void PORDeserializer::Read(Name name, std::uint64_t& value)
{
    ReadValue(name, value);
}
void PORDeserializer::Read(Name name, std::int64_t& value)
{
    ReadValue(name, value);
}
void PORDeserializer::Read(Name name, double& value)
{
    ReadValue(name, value);
}
void PORDeserializer::Read(Name name, std::vector<std::uint8_t>& value)
{
    ReadValue(name, value);
}
void PORDeserializer::Read(Name name, Common::Guid& value)
{
    ReadValue(name, value);
}
void PORDeserializer::Read(Name name, Common::WideString& value)
{
    ReadValue(name, value);
}
void PORDeserializer::Read(Name name, Common::Error& value)
{
    ReadValue(name, value);
}

bool PORDeserializer::HasValue(Name name)
{
    if (!Frames.empty())
    {
        // A pointer or optional says itself whether it holds a value; the value, unwrapped, may be an
        // empty optional of its own.
        const Frame& top = Frames.back();
        if ((top.Kind == FrameKind::Pointer && name != Names::PtrMark) ||
            (top.Kind == FrameKind::Optional && name != Names::IsNull && name != Names::IsInit))
        {
            return !IsAbsent(top.Unit);
        }
    }
    return !IsAbsent(Resolve(name, false).Unit);
}

PORDeserializer::Frame& PORDeserializer::Open(FrameKind kind, const Resolved& resolved)
{
    Frames.push_back(Frame{kind, resolved.Unit, resolved.Path, {}});
    return Frames.back();
}

void PORDeserializer::BeginValue(Name name)
{
    const Resolved resolved = Resolve(name, true);
    Open(FrameKind::Value, {IsAbsent(resolved.Unit) ? nullptr : resolved.Unit, resolved.Path});
}

void PORDeserializer::BeginClass(Name name)
{
    const Resolved resolved = Resolve(name, true);
    Open(FrameKind::Class, {IsAbsent(resolved.Unit) ? nullptr : resolved.Unit, resolved.Path});
}

void PORDeserializer::BeginPolymorph(Name name)
{
    const Resolved resolved = Resolve(name, true);
    Open(FrameKind::Polymorph, {IsAbsent(resolved.Unit) ? nullptr : resolved.Unit, resolved.Path});
}

::Serialization::ContainerIterator& PORDeserializer::BeginContainer(Name name, Name)
{
    const Resolved resolved = Resolve(name, true);
    if (IsAbsent(resolved.Unit))
    {
        return Open(FrameKind::Container, {nullptr, resolved.Path}).Items;
    }
    const View::ArrayValue& array = NodeProcessor::ProcessContainer(resolved);
    std::vector<const View::Unit*> elements;
    elements.reserve(array.Size());
    for (std::size_t i = 0; i < array.Size(); ++i)
    {
        elements.push_back(&array.Get(i));
    }
    Frames.push_back(Frame{FrameKind::Container, resolved.Unit, resolved.Path,
                           ::Serialization::ValueIterator<const View::Unit*>(std::move(elements))});
    return Frames.back().Items;
}

// The bracket's own unit keeps its "IsEmpty": for a pointer or an optional it means a null or absent
// value, which the value request then reports.
void PORDeserializer::BeginPointer(Name name, Name)
{
    const Resolved resolved = Resolve(name, true);
    NodeProcessor::ProcessIfReference(resolved);
    Open(FrameKind::Pointer, resolved);
}

void PORDeserializer::BeginOptional(Name name, Name)
{
    const Resolved resolved = Resolve(name, true);
    NodeProcessor::ProcessIfOptional(resolved);
    Open(FrameKind::Optional, resolved);
}

void PORDeserializer::End()
{
    if (Frames.empty())
    {
        SAFE_ASSERT_TEXT(false, "PORDeserializer: End without an open bracket");
        return;
    }
    Frames.pop_back();
}

bool PORDeserializer::HasTrait(Name name) const
{
    const View::Unit* unit = Frames.empty() ? Source.get() : Frames.back().Unit;
    return unit != nullptr && Util::HasTrait(*unit, Detail::Narrow(name));
}

Common::WideString PORDeserializer::ReadTrait(Name name) const
{
    const Common::WideString path = Frames.empty() ? Common::WideString() : Frames.back().Path;
    const Resolved trait = NodeProcessor::ProcessTraitValue(AcquireUnit(), path, Detail::Narrow(name), true);
    const ValueKind kind = GetValueTypeIndex(*trait.Unit);
    if (kind == ValueKind::Nil)
    {
        return {};
    }
    if (kind != ValueKind::String)
    {
        throw Util::Detail::MakePropertyTypeMismatchError(Detail::Narrow(trait.Path), ValueKind::String,
                                                          kind);
    }
    return Util::GetValue<String>(*trait.Unit);
}

std::uint32_t PORDeserializer::GetSubjectVersion() const
{
    if (Frames.empty())
    {
        return Version;
    }
    const Frame& top = Frames.back();
    if (top.Unit == nullptr)
    {
        throw Detail::Failure("Por::Serialization::PORDeserializer::GetSubjectVersion",
                              Common::Texts::PorSubjectVersionMissing, {});
    }
    const Resolved trait = NodeProcessor::ProcessTraitValue(*top.Unit, top.Path, "Version", false);
    if (trait.Unit == nullptr)
    {
        return Version;
    }
    const ValueKind kind = GetValueTypeIndex(*trait.Unit);
    if (kind != ValueKind::DWord)
    {
        throw Util::Detail::MakePropertyTypeMismatchError(Detail::Narrow(trait.Path), ValueKind::DWord, kind);
    }
    return Util::GetValue<std::uint32_t>(*trait.Unit);
}

std::shared_ptr<void>& PORDeserializer::PointerSlot(std::uint64_t mark, const std::type_info& type)
{
    return Slots[{mark, type.name()}];
}

const View::Unit& PORDeserializer::AcquireUnit() const
{
    const View::Unit* unit = Frames.empty() ? Source.get() : Frames.back().Unit;
    if (unit == nullptr)
    {
        throw Detail::SourceMissing();
    }
    return *unit;
}

} // namespace Por::Serialization
