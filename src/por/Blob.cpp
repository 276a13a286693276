#include "por/Blob.h"

#include "common/CatalogIds.h"
#include "common/ErrorSerialization.h"
#include "common/Utf8.h"
#include "por/Errors.h"
#include "por/UnitAccess.h"
#include "por/UnitFactory.h"

#include <bit>
#include <cstring>
#include <memory>
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

// The byte layout of every event, over any sink with Put(data, size). One definition serves the public
// walker (through a virtual consumer) and the direct writer and size evaluation (devirtualised).
template <typename Sink>
class Encoder
{
public:
    explicit Encoder(Sink& sink) : Out(sink) {}

    void OnUnitBegin() { Out.Put(&UnitMark, 1); }
    void OnEnd() { Out.Put(&EndMark, 1); }
    void OnArray() { Out.Put(&ArrayMark, 1); }
    void OnComposite() { Out.Put(&CompositeMark, 1); }
    void OnProperty(std::string_view name) { Name(PropertyMark, name); }
    void OnTrait(std::string_view name) { Name(TraitMark, name); }
    void OnNil()
    {
        const std::uint8_t kind = KindByte(ValueKind::Nil);
        Out.Put(&kind, 1);
    }
    void OnError(const Common::Error& value)
    {
        const std::span<const std::uint8_t> bytes = SerializedError(value);
        Scalar(ValueKind::Error, static_cast<std::uint32_t>(bytes.size()));
        Out.Put(bytes.data(), bytes.size());
    }
    void OnString(Common::WideStringView value)
    {
        std::uint8_t header[5];
        header[0] = KindByte(ValueKind::String);
        const auto length = static_cast<std::uint32_t>(value.size() * 2);
        std::memcpy(header + 1, &length, 4);
        Out.Put(header, sizeof header);
        Out.Put(value.data(), length);
    }
    void OnGuid(const Common::Guid& value) { Scalar(ValueKind::Guid, value); }
    void OnBlob(std::span<const std::uint8_t> value)
    {
        Scalar(ValueKind::Blob, static_cast<std::uint32_t>(value.size()));
        Out.Put(value.data(), value.size());
    }
    void OnDouble(double value) { Scalar(ValueKind::Double, value); }
    void OnSQWord(std::int64_t value) { Scalar(ValueKind::SQWord, value); }
    void OnQWord(std::uint64_t value) { Scalar(ValueKind::QWord, value); }
    void OnSDWord(std::int32_t value) { Scalar(ValueKind::SDWord, value); }
    void OnDWord(std::uint32_t value) { Scalar(ValueKind::DWord, value); }
    void OnSWord(std::int16_t value) { Scalar(ValueKind::SWord, value); }
    void OnWord(std::uint16_t value) { Scalar(ValueKind::Word, value); }
    void OnSByte(std::int8_t value) { Scalar(ValueKind::SByte, value); }
    void OnByte(std::uint8_t value) { Scalar(ValueKind::Byte, value); }
    void OnBoolean(bool value) { Scalar(ValueKind::Boolean, static_cast<std::uint8_t>(value ? 1 : 0)); }

private:
    template <typename T>
    void Scalar(ValueKind kind, const T& value)
    {
        std::uint8_t bytes[1 + sizeof(T)];
        bytes[0] = KindByte(kind);
        std::memcpy(bytes + 1, &value, sizeof(T));
        Out.Put(bytes, sizeof bytes);
    }

    // Names are narrow (UTF-8) and travel as string values. ASCII names, nearly all of them, widen on
    // the stack; others through a buffer the thread keeps.
    void Name(std::uint8_t mark, std::string_view name)
    {
        Out.Put(&mark, 1);
        char16_t local[64];
        if (name.size() <= std::size(local))
        {
            bool ascii = true;
            for (std::size_t i = 0; i < name.size(); ++i)
            {
                const auto byte = static_cast<unsigned char>(name[i]);
                ascii = ascii && byte < 0x80;
                local[i] = byte;
            }
            if (ascii)
            {
                OnString(Common::WideStringView(local, name.size()));
                return;
            }
        }
        thread_local Common::WideString wide;
        Common::Utf8ToWide(wide, name.data(), name.size());
        OnString(wide);
    }

    Sink& Out;
};

struct ConsumerSink
{
    BinaryDataConsumer& Consumer;
    void Put(const void* data, std::size_t size)
    {
        Consumer.Consume(static_cast<const std::uint8_t*>(data), size);
    }
};

struct CountingSink
{
    std::size_t Size = 0;
    void Put(const void*, std::size_t size) { Size += size; }
};

// Most pieces are a few bytes: two overlapping word moves beat the set-up of a block copy (and a byte
// loop, whose stores may alias anything).
inline void CopyBytes(std::uint8_t* out, const std::uint8_t* in, std::size_t size)
{
    if (size >= 8 && size <= 16)
    {
        std::uint64_t head;
        std::uint64_t tail;
        std::memcpy(&head, in, 8);
        std::memcpy(&tail, in + size - 8, 8);
        std::memcpy(out, &head, 8);
        std::memcpy(out + size - 8, &tail, 8);
    }
    else if (size >= 4 && size < 8)
    {
        std::uint32_t head;
        std::uint32_t tail;
        std::memcpy(&head, in, 4);
        std::memcpy(&tail, in + size - 4, 4);
        std::memcpy(out, &head, 4);
        std::memcpy(out + size - 4, &tail, 4);
    }
    else if (size < 4)
    {
        for (std::size_t i = 0; i < size; ++i)
        {
            out[i] = in[i];
        }
    }
    else
    {
        std::memcpy(out, in, size);
    }
}

// Appends into a buffer the thread keeps (grown geometrically, never zero-filled), copied out once at
// the end: small appends to a vector cost more than the bytes themselves.
struct BufferSink
{
    std::unique_ptr<std::uint8_t[]>& Data;
    std::size_t& Capacity;
    std::size_t Used = 0;

    void Put(const void* data, std::size_t size)
    {
        if (Capacity - Used < size)
        {
            Grow(size);
        }
        CopyBytes(Data.get() + Used, static_cast<const std::uint8_t*>(data), size);
        Used += size;
    }

    void Grow(std::size_t size)
    {
        const std::size_t capacity = std::max(Capacity * 2, Used + size + 4096);
        auto larger = std::make_unique_for_overwrite<std::uint8_t[]>(capacity);
        if (Used != 0)
        {
            std::memcpy(larger.get(), Data.get(), Used);
        }
        Data = std::move(larger);
        Capacity = capacity;
    }
};

// The value-first walk of a unit, calling the encoder directly.
template <typename Events>
void WriteUnit(const View::Unit& unit, Events& events)
{
    events.OnUnitBegin();
    const ResolvedValue value = Resolve(unit);
    switch (value.Kind)
    {
    case ValueKind::Nil:
        events.OnNil();
        break;
    case ValueKind::Boolean:
        events.OnBoolean(value.As<View::ScalarValue<bool>>().Get());
        break;
    case ValueKind::Byte:
        events.OnByte(value.As<View::ScalarValue<std::uint8_t>>().Get());
        break;
    case ValueKind::SByte:
        events.OnSByte(value.As<View::ScalarValue<std::int8_t>>().Get());
        break;
    case ValueKind::Word:
        events.OnWord(value.As<View::ScalarValue<std::uint16_t>>().Get());
        break;
    case ValueKind::SWord:
        events.OnSWord(value.As<View::ScalarValue<std::int16_t>>().Get());
        break;
    case ValueKind::DWord:
        events.OnDWord(value.As<View::ScalarValue<std::uint32_t>>().Get());
        break;
    case ValueKind::SDWord:
        events.OnSDWord(value.As<View::ScalarValue<std::int32_t>>().Get());
        break;
    case ValueKind::QWord:
        events.OnQWord(value.As<View::ScalarValue<std::uint64_t>>().Get());
        break;
    case ValueKind::SQWord:
        events.OnSQWord(value.As<View::ScalarValue<std::int64_t>>().Get());
        break;
    case ValueKind::Double:
        events.OnDouble(value.As<View::ScalarValue<double>>().Get());
        break;
    case ValueKind::Blob:
        events.OnBlob(value.As<View::ComplexValue<Blob>>().Get());
        break;
    case ValueKind::Guid:
        events.OnGuid(value.As<View::ComplexValue<Common::Guid>>().Get());
        break;
    case ValueKind::String:
        events.OnString(value.As<View::ComplexValue<String>>().Get());
        break;
    case ValueKind::Error:
        events.OnError(value.As<View::ComplexValue<Common::Error>>().Get());
        break;
    case ValueKind::Array:
    {
        events.OnArray();
        const auto& array = value.As<View::ArrayValue>();
        for (std::size_t i = 0, size = array.Size(); i < size; ++i)
        {
            WriteUnit(array.Get(i), events);
        }
        break;
    }
    case ValueKind::Composite:
    {
        events.OnComposite();
        auto properties = MakeProcessor<const View::Property>(
            [&](const View::Property& property)
            {
                events.OnProperty(property.GetName());
                WriteUnit(property.GetValue(), events);
            });
        value.As<View::CompositeValue>().ForEach(properties);
        break;
    }
    default:
        break;
    }
    auto traits = MakeProcessor<const View::Trait>(
        [&](const View::Trait& trait)
        {
            events.OnTrait(trait.GetName());
            WriteUnit(trait.GetValue(), events);
        });
    unit.GetTraits().ForEach(traits);
    events.OnEnd();
}

template <typename Call>
void Emit(BinaryDataConsumer& consumer, Call call)
{
    ConsumerSink sink{consumer};
    Encoder<ConsumerSink> encoder(sink);
    call(encoder);
}

} // namespace

void BinaryDataProvider::OnUnitBegin()
{
    Emit(Consumer, [&](auto& encoder) { encoder.OnUnitBegin(); });
}
void BinaryDataProvider::OnEnd()
{
    Emit(Consumer, [&](auto& encoder) { encoder.OnEnd(); });
}
void BinaryDataProvider::OnProperty(std::string_view name)
{
    Emit(Consumer, [&](auto& encoder) { encoder.OnProperty(name); });
}
void BinaryDataProvider::OnTrait(std::string_view name)
{
    Emit(Consumer, [&](auto& encoder) { encoder.OnTrait(name); });
}
void BinaryDataProvider::OnNil()
{
    Emit(Consumer, [&](auto& encoder) { encoder.OnNil(); });
}
void BinaryDataProvider::OnError(const Common::Error& value)
{
    Emit(Consumer, [&](auto& encoder) { encoder.OnError(value); });
}
void BinaryDataProvider::OnString(Common::WideStringView value)
{
    Emit(Consumer, [&](auto& encoder) { encoder.OnString(value); });
}
void BinaryDataProvider::OnGuid(const Common::Guid& value)
{
    Emit(Consumer, [&](auto& encoder) { encoder.OnGuid(value); });
}
void BinaryDataProvider::OnBlob(std::span<const std::uint8_t> value)
{
    Emit(Consumer, [&](auto& encoder) { encoder.OnBlob(value); });
}
void BinaryDataProvider::OnDouble(double value)
{
    Emit(Consumer, [&](auto& encoder) { encoder.OnDouble(value); });
}
void BinaryDataProvider::OnSQWord(std::int64_t value)
{
    Emit(Consumer, [&](auto& encoder) { encoder.OnSQWord(value); });
}
void BinaryDataProvider::OnQWord(std::uint64_t value)
{
    Emit(Consumer, [&](auto& encoder) { encoder.OnQWord(value); });
}
void BinaryDataProvider::OnSDWord(std::int32_t value)
{
    Emit(Consumer, [&](auto& encoder) { encoder.OnSDWord(value); });
}
void BinaryDataProvider::OnDWord(std::uint32_t value)
{
    Emit(Consumer, [&](auto& encoder) { encoder.OnDWord(value); });
}
void BinaryDataProvider::OnSWord(std::int16_t value)
{
    Emit(Consumer, [&](auto& encoder) { encoder.OnSWord(value); });
}
void BinaryDataProvider::OnWord(std::uint16_t value)
{
    Emit(Consumer, [&](auto& encoder) { encoder.OnWord(value); });
}
void BinaryDataProvider::OnSByte(std::int8_t value)
{
    Emit(Consumer, [&](auto& encoder) { encoder.OnSByte(value); });
}
void BinaryDataProvider::OnByte(std::uint8_t value)
{
    Emit(Consumer, [&](auto& encoder) { encoder.OnByte(value); });
}
void BinaryDataProvider::OnBoolean(bool value)
{
    Emit(Consumer, [&](auto& encoder) { encoder.OnBoolean(value); });
}
void BinaryDataProvider::OnArray()
{
    Emit(Consumer, [&](auto& encoder) { encoder.OnArray(); });
}
void BinaryDataProvider::OnComposite()
{
    Emit(Consumer, [&](auto& encoder) { encoder.OnComposite(); });
}

std::size_t GetBlobSize(const View::Unit& unit)
{
    CountingSink sink;
    Encoder<CountingSink> encoder(sink);
    WriteUnit(unit, encoder);
    return sink.Size;
}

void WriteBlob(const View::Unit& unit, std::vector<std::uint8_t>& bytes)
{
    thread_local std::unique_ptr<std::uint8_t[]> buffer;
    thread_local std::size_t capacity = 0;
    BufferSink sink{buffer, capacity};
    Encoder<BufferSink> encoder(sink);
    WriteUnit(unit, encoder);
    bytes.assign(buffer.get(), buffer.get() + sink.Used);
    if (capacity > (std::size_t{1} << 24) && sink.Used < capacity / 4)
    {
        buffer.reset(); // a huge one-off blob doesn't stay with the thread
        capacity = 0;
    }
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
