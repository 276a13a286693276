#include "por/Blob.h"

#include "common/CatalogIds.h"
#include "common/ErrorSerialization.h"
#include "common/Utf8.h"
#include "por/Errors.h"
#include "por/UnitAccess.h"
#include "por/UnitFactory.h"

#include <bit>
#include <cstring>
#include <string>

namespace Por::Util
{

static_assert(std::endian::native == std::endian::little, "the blob form is little-endian");

namespace
{

constexpr std::uint8_t UnitMark = 'U';
constexpr std::uint8_t EndMark = 'E';
constexpr std::uint8_t CompositeMark = 'C';
constexpr std::uint8_t ArrayMark = 'A';
constexpr std::uint8_t PropertyMark = 'P';
constexpr std::uint8_t TraitMark = 'T';

std::uint8_t KindByte(ValueKind kind)
{
    return static_cast<std::uint8_t>(kind);
}

// The serialised form of an error value, in a buffer the thread keeps, so repeated sizing allocates
// nothing.
std::span<const std::uint8_t> SerializedError(const Common::Error& error)
{
    thread_local std::vector<std::uint8_t> scratch;
    const std::size_t size = Common::Serialize(error, nullptr, 0);
    if (scratch.size() < size)
    {
        scratch.resize(size);
    }
    Common::Serialize(error, scratch.data(), size);
    return {scratch.data(), size};
}

} // namespace

// Writing -------------------------------------------------------------------------------------------

namespace
{

template <typename T>
void Put(BinaryDataConsumer& consumer, const T& value)
{
    std::uint8_t bytes[sizeof(T)];
    std::memcpy(bytes, &value, sizeof(T));
    consumer.Consume(bytes, sizeof(T));
}

template <typename T>
void PutScalar(BinaryDataConsumer& consumer, ValueKind kind, T value)
{
    std::uint8_t bytes[1 + sizeof(T)];
    bytes[0] = KindByte(kind);
    std::memcpy(bytes + 1, &value, sizeof(T));
    consumer.Consume(bytes, sizeof bytes);
}

void PutString(BinaryDataConsumer& consumer, Common::WideStringView text)
{
    std::uint8_t header[5];
    header[0] = KindByte(ValueKind::String);
    const auto length = static_cast<std::uint32_t>(text.size() * 2);
    std::memcpy(header + 1, &length, 4);
    consumer.Consume(header, sizeof header);
    consumer.Consume(reinterpret_cast<const std::uint8_t*>(text.data()), length);
}

void PutName(BinaryDataConsumer& consumer, std::uint8_t mark, std::string_view name)
{
    consumer.Consume(&mark, 1);
    // Short names convert on the stack; longer ones through a buffer the thread keeps.
    char16_t local[64];
    if (name.size() <= std::size(local))
    {
        std::size_t units = 0;
        bool ascii = true;
        for (char c : name)
        {
            ascii = ascii && static_cast<unsigned char>(c) < 0x80;
            local[units++] = static_cast<char16_t>(static_cast<unsigned char>(c));
        }
        if (ascii)
        {
            PutString(consumer, Common::WideStringView(local, units));
            return;
        }
    }
    thread_local Common::WideString wide;
    Common::Utf8ToWide(wide, name.data(), name.size());
    PutString(consumer, wide);
}

} // namespace

void BinaryDataProvider::OnUnitBegin()
{
    Consumer.Consume(&UnitMark, 1);
}
void BinaryDataProvider::OnEnd()
{
    Consumer.Consume(&EndMark, 1);
}
void BinaryDataProvider::OnProperty(std::string_view name)
{
    PutName(Consumer, PropertyMark, name);
}
void BinaryDataProvider::OnTrait(std::string_view name)
{
    PutName(Consumer, TraitMark, name);
}
void BinaryDataProvider::OnNil()
{
    const std::uint8_t kind = KindByte(ValueKind::Nil);
    Consumer.Consume(&kind, 1);
}
void BinaryDataProvider::OnError(const Common::Error& value)
{
    const std::span<const std::uint8_t> bytes = SerializedError(value);
    PutScalar(Consumer, ValueKind::Error, static_cast<std::uint32_t>(bytes.size()));
    Consumer.Consume(bytes.data(), bytes.size());
}
void BinaryDataProvider::OnString(Common::WideStringView value)
{
    PutString(Consumer, value);
}
void BinaryDataProvider::OnGuid(const Common::Guid& value)
{
    PutScalar(Consumer, ValueKind::Guid, value);
}
void BinaryDataProvider::OnBlob(std::span<const std::uint8_t> value)
{
    PutScalar(Consumer, ValueKind::Blob, static_cast<std::uint32_t>(value.size()));
    Consumer.Consume(value.data(), value.size());
}
void BinaryDataProvider::OnDouble(double value)
{
    PutScalar(Consumer, ValueKind::Double, value);
}
void BinaryDataProvider::OnSQWord(std::int64_t value)
{
    PutScalar(Consumer, ValueKind::SQWord, value);
}
void BinaryDataProvider::OnQWord(std::uint64_t value)
{
    PutScalar(Consumer, ValueKind::QWord, value);
}
void BinaryDataProvider::OnSDWord(std::int32_t value)
{
    PutScalar(Consumer, ValueKind::SDWord, value);
}
void BinaryDataProvider::OnDWord(std::uint32_t value)
{
    PutScalar(Consumer, ValueKind::DWord, value);
}
void BinaryDataProvider::OnSWord(std::int16_t value)
{
    PutScalar(Consumer, ValueKind::SWord, value);
}
void BinaryDataProvider::OnWord(std::uint16_t value)
{
    PutScalar(Consumer, ValueKind::Word, value);
}
void BinaryDataProvider::OnSByte(std::int8_t value)
{
    PutScalar(Consumer, ValueKind::SByte, value);
}
void BinaryDataProvider::OnByte(std::uint8_t value)
{
    PutScalar(Consumer, ValueKind::Byte, value);
}
void BinaryDataProvider::OnBoolean(bool value)
{
    PutScalar(Consumer, ValueKind::Boolean, static_cast<std::uint8_t>(value ? 1 : 0));
}
void BinaryDataProvider::OnArray()
{
    Consumer.Consume(&ArrayMark, 1);
}
void BinaryDataProvider::OnComposite()
{
    Consumer.Consume(&CompositeMark, 1);
}

std::size_t GetBlobSize(const View::Unit& unit)
{
    BlobSizeEvalLogic size;
    BinaryDataProvider provider(size);
    HierarchyRoute(unit).Follow(provider);
    return size.GetSize();
}

void WriteBlob(const View::Unit& unit, std::vector<std::uint8_t>& bytes)
{
    bytes.clear();
    BlobWriter writer(bytes);
    BinaryDataProvider provider(writer);
    HierarchyRoute(unit).Follow(provider);
}

// Reading -------------------------------------------------------------------------------------------

namespace
{

[[noreturn]] void Corrupted(std::span<const std::uint8_t> bytes, std::size_t position)
{
    static constexpr char Digits[] = "0123456789ABCDEF";
    const std::size_t shown = std::min(bytes.size(), MaximumDumpBytes);
    Common::WideString dump;
    dump.reserve(shown * 2 + 3);
    for (std::size_t i = 0; i < shown; ++i)
    {
        dump.push_back(static_cast<char16_t>(Digits[bytes[i] >> 4]));
        dump.push_back(static_cast<char16_t>(Digits[bytes[i] & 15]));
    }
    if (shown < bytes.size())
    {
        dump += u"...";
    }
    throw MakeError(COMMON_LOCATION("Por::Util::BlobWalkingRoute::Follow"), ErrorCodes::BlobCorrupted,
                    Common::Texts::PorUnitCorrupted, {dump, Widen(std::to_string(position))});
}

// One pass over a blob that checks its structure and hands events to a sink. The sink is a template
// parameter: the same grammar drives the virtual walkers and the direct unit builder.
template <typename Sink>
class BlobParser
{
public:
    BlobParser(std::span<const std::uint8_t> bytes, Sink& sink) : Bytes(bytes), Events(sink) {}

    void Parse()
    {
        if (Bytes.size() > 0xFFFFFFFFu)
        {
            Fail(0xFFFFFFFFu); // positions are 32-bit
        }
        while (Position < Bytes.size())
        {
            const std::size_t start = Position;
            const std::uint8_t mark = Bytes[Position++];
            switch (mark)
            {
            case UnitMark:
                OpenUnit(start);
                Expect(start, Next::Value);
                break;
            case CompositeMark:
                if (!TopExpects(Next::Value))
                {
                    OpenUnit(start); // a bare 'C' is a unit of its own
                }
                SetValue(start, ValueKind::Composite);
                Events.OnComposite();
                break;
            case ArrayMark:
                if (!TopExpects(Next::Value))
                {
                    OpenUnit(start);
                }
                SetValue(start, ValueKind::Array);
                Events.OnArray();
                break;
            case EndMark:
                CloseUnit(start);
                break;
            case PropertyMark:
            case TraitMark:
                Member(start, mark == PropertyMark);
                break;
            default:
                --Position;
                if (!TopExpects(Next::Value))
                {
                    OpenUnit(start); // a value where a unit may start is a unit without its 'U'
                }
                ReadValue(start);
                break;
            }
        }
        if (!Frames.empty() || Pending != Slot::None)
        {
            Fail(Position);
        }
    }

private:
    enum class Next
    {
        Value,   // right after 'U': the value must come
        Content, // behind the value: properties, elements, traits or the end
    };
    enum class Slot
    {
        None,
        Property,
        Trait,
    };
    struct Frame
    {
        Next State;
        ValueKind Kind;
    };

    [[noreturn]] void Fail(std::size_t position) { Corrupted(Bytes, position); }

    bool TopExpects(Next state) const { return !Frames.empty() && Frames.back().State == state; }

    void Expect(std::size_t, Next state) { Frames.back().State = state; }

    // A unit may start at the root (once), behind a property or trait name, or among an array's elements.
    void OpenUnit(std::size_t position)
    {
        if (Frames.empty())
        {
            if (RootDone)
            {
                Fail(position);
            }
        }
        else if (Pending == Slot::None &&
                 !(Frames.back().State == Next::Content && Frames.back().Kind == ValueKind::Array))
        {
            Fail(position);
        }
        if (Frames.size() >= MaximumBlobDepth)
        {
            Fail(position);
        }
        Pending = Slot::None;
        Frames.push_back(Frame{Next::Value, ValueKind::Unknown});
        Events.OnUnitBegin();
    }

    void SetValue(std::size_t position, ValueKind kind)
    {
        if (!TopExpects(Next::Value))
        {
            Fail(position);
        }
        Frames.back() = Frame{Next::Content, kind};
    }

    void CloseUnit(std::size_t position)
    {
        if (Frames.empty() || Frames.back().State != Next::Content || Pending != Slot::None)
        {
            Fail(position); // a stray 'E', or one where a value or a member's unit is missing
        }
        Frames.pop_back();
        RootDone = RootDone || Frames.empty();
        Events.OnEnd();
    }

    void Member(std::size_t position, bool property)
    {
        if (Frames.empty() || Frames.back().State != Next::Content || Pending != Slot::None ||
            (property && Frames.back().Kind != ValueKind::Composite))
        {
            Fail(position);
        }
        // The name's kind byte is not checked; the name is a string payload.
        Need(position, 1);
        ++Position;
        const Common::WideStringView name = ReadString(position);
        Common::WideToUtf8(Name, name.data(), name.size());
        Pending = property ? Slot::Property : Slot::Trait;
        if (property)
        {
            Events.OnProperty(Name);
        }
        else
        {
            Events.OnTrait(Name);
        }
    }

    void Need(std::size_t position, std::size_t count) const
    {
        if (Bytes.size() - Position < count)
        {
            const_cast<BlobParser*>(this)->Fail(position);
        }
    }

    template <typename T>
    T Take(std::size_t position)
    {
        Need(position, sizeof(T));
        T value;
        std::memcpy(&value, Bytes.data() + Position, sizeof(T));
        Position += sizeof(T);
        return value;
    }

    std::span<const std::uint8_t> TakeBytes(std::size_t position)
    {
        const auto length = Take<std::uint32_t>(position);
        Need(position, length);
        const std::span<const std::uint8_t> bytes = Bytes.subspan(Position, length);
        Position += length;
        return bytes;
    }

    Common::WideStringView ReadString(std::size_t position)
    {
        const std::span<const std::uint8_t> bytes = TakeBytes(position);
        if (bytes.size() % 2 != 0)
        {
            Fail(position);
        }
        Text.resize(bytes.size() / 2);
        std::memcpy(Text.data(), bytes.data(), bytes.size());
        return Text;
    }

    void ReadValue(std::size_t start)
    {
        const std::uint8_t kind = Bytes[Position++];
        if (kind >= static_cast<std::uint8_t>(ValueKind::Array))
        {
            Fail(start);
        }
        SetValue(start, static_cast<ValueKind>(kind));
        switch (static_cast<ValueKind>(kind))
        {
        case ValueKind::Nil:
            Events.OnNil();
            break;
        case ValueKind::Boolean:
            Events.OnBoolean(Take<std::uint8_t>(start) != 0);
            break;
        case ValueKind::Byte:
            Events.OnByte(Take<std::uint8_t>(start));
            break;
        case ValueKind::SByte:
            Events.OnSByte(Take<std::int8_t>(start));
            break;
        case ValueKind::Word:
            Events.OnWord(Take<std::uint16_t>(start));
            break;
        case ValueKind::SWord:
            Events.OnSWord(Take<std::int16_t>(start));
            break;
        case ValueKind::DWord:
            Events.OnDWord(Take<std::uint32_t>(start));
            break;
        case ValueKind::SDWord:
            Events.OnSDWord(Take<std::int32_t>(start));
            break;
        case ValueKind::QWord:
            Events.OnQWord(Take<std::uint64_t>(start));
            break;
        case ValueKind::SQWord:
            Events.OnSQWord(Take<std::int64_t>(start));
            break;
        case ValueKind::Double:
            Events.OnDouble(Take<double>(start));
            break;
        case ValueKind::Blob:
            Events.OnBlob(TakeBytes(start));
            break;
        case ValueKind::Guid:
            Events.OnGuid(Take<Common::Guid>(start));
            break;
        case ValueKind::String:
            Events.OnString(ReadString(start));
            break;
        case ValueKind::Error:
        {
            const std::span<const std::uint8_t> bytes = TakeBytes(start);
            Events.OnError(Common::Deserialize(bytes.data(), bytes.size()));
            break;
        }
        default:
            Fail(start);
        }
    }

    std::span<const std::uint8_t> Bytes;
    Sink& Events;
    std::size_t Position = 0;
    std::vector<Frame> Frames;
    Slot Pending = Slot::None;
    bool RootDone = false;
    std::string Name;
    Common::WideString Text;
};

// Builds units straight from the parser's events.
class UnitSink
{
public:
    explicit UnitSink(const Construction::UnitFactory& factory) : Factory(factory) {}

    void OnUnitBegin()
    {
        Frame frame;
        frame.Place = Pending;
        frame.Name = std::move(PendingName);
        Pending = Where::Element;
        if (Frames.empty())
        {
            frame.Place = Where::Root;
        }
        Frames.push_back(std::move(frame));
    }

    void OnProperty(std::string_view name) { Member(Where::Property, name); }
    void OnTrait(std::string_view name) { Member(Where::Trait, name); }

    void OnEnd()
    {
        Frame frame = std::move(Frames.back());
        Frames.pop_back();
        switch (frame.Place)
        {
        case Where::Root:
            Root = std::move(frame.Unit);
            break;
        case Where::Property:
            Frames.back().Composite->Set(
                Factory.CreateProperty(std::move(frame.Name), std::move(frame.Unit)));
            break;
        case Where::Trait:
            Frames.back().Unit->GetTraits().Add(
                Factory.CreateTrait(std::move(frame.Name), std::move(frame.Unit)));
            break;
        case Where::Element:
            Frames.back().Array->PushBack(std::move(frame.Unit));
            break;
        }
    }

    void OnNil() { Set(Factory.CreateNil()); }
    void OnError(const Common::Error& value) { Set(Factory.CreateError(value)); }
    void OnString(Common::WideStringView value) { Set(Factory.CreateString(String(value))); }
    void OnGuid(const Common::Guid& value) { Set(Factory.CreateGuid(value)); }
    void OnBlob(std::span<const std::uint8_t> value)
    {
        Set(Factory.CreateBlob(Blob(value.begin(), value.end())));
    }
    void OnDouble(double value) { Set(Factory.CreateDouble(value)); }
    void OnSQWord(std::int64_t value) { Set(Factory.CreateSQWord(value)); }
    void OnQWord(std::uint64_t value) { Set(Factory.CreateQWord(value)); }
    void OnSDWord(std::int32_t value) { Set(Factory.CreateSDWord(value)); }
    void OnDWord(std::uint32_t value) { Set(Factory.CreateDWord(value)); }
    void OnSWord(std::int16_t value) { Set(Factory.CreateSWord(value)); }
    void OnWord(std::uint16_t value) { Set(Factory.CreateWord(value)); }
    void OnSByte(std::int8_t value) { Set(Factory.CreateSByte(value)); }
    void OnByte(std::uint8_t value) { Set(Factory.CreateByte(value)); }
    void OnBoolean(bool value) { Set(Factory.CreateBoolean(value)); }

    void OnArray()
    {
        Set(Factory.CreateArray());
        Frames.back().Array = &GetArray(*Frames.back().Unit);
    }

    void OnComposite()
    {
        Set(Factory.CreateComposite());
        Frames.back().Composite = &GetComposite(*Frames.back().Unit);
    }

    UnitPtr Result() { return std::move(Root); }

private:
    enum class Where
    {
        Root,
        Property,
        Trait,
        Element,
    };
    struct Frame
    {
        Where Place = Where::Element;
        std::string Name;
        UnitPtr Unit;
        Construction::CompositeValue* Composite = nullptr;
        Construction::ArrayValue* Array = nullptr;
    };

    void Member(Where place, std::string_view name)
    {
        Pending = place;
        PendingName.assign(name);
    }

    void Set(UnitPtr unit) { Frames.back().Unit = std::move(unit); }

    const Construction::UnitFactory& Factory;
    std::vector<Frame> Frames;
    Where Pending = Where::Element;
    std::string PendingName;
    UnitPtr Root;
};

} // namespace

void BlobWalkingRoute::Follow(UnitWalker& walker) const
{
    BlobParser<UnitWalker>(Bytes, walker).Parse();
}

UnitPtr ReadBlob(std::span<const std::uint8_t> bytes, const Construction::UnitFactory& factory)
{
    if (bytes.empty())
    {
        return nullptr;
    }
    UnitSink sink(factory);
    BlobParser<UnitSink>(bytes, sink).Parse();
    return sink.Result();
}

} // namespace Por::Util
