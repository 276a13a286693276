// The blob form of units: a byte stream with no header, version or length of its own (an empty blob
// means "no unit"), little-endian:
//   unit      'U' value trait* 'E'           property  'P' name unit
//   value     scalar | composite | array     trait     'T' name unit
//   composite 'C' property*                  name      a string value with its kind byte
//   array     'A' unit*                      scalar    kind byte (the kind index) and payload
// Payloads: nil none; boolean, byte, sbyte 1 byte; word, sword 2; dword, sdword 4; qword, sqword,
// double 8; blob u32 length + bytes; guid 16 bytes in memory order; string u32 byte length (twice the
// characters) + UTF-16LE; error u32 length + the serialised Common::Error. Properties and traits appear
// in their sorted order, the value before the traits. A composite or array has no end mark of its own.
// Readers also accept a bare 'C' (or a value) where a unit may start, as a unit without its 'U'.
// Blobs are not trusted when read: every length is checked against what remains, odd string lengths,
// a stray 'E', a property outside a composite, a second root, trailing bytes and nesting deeper than
// MaximumBlobDepth all throw "POR: Unit object '{0}' is corrupted at position '{1}'." (0xfa0021), with
// the blob in hexadecimal (at most MaximumDumpBytes of it) and the offending position.
#pragma once

#include "por/Forward.h"
#include "por/UnitWalker.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace Por::Util
{

inline constexpr std::size_t MaximumBlobDepth = 512;
inline constexpr std::size_t MaximumDumpBytes = 65536;

// The byte count of the unit's blob; allocates nothing (error values: after a first call per thread).
std::size_t GetBlobSize(const View::Unit& unit);
// Replaces `bytes` with the unit's blob.
void WriteBlob(const View::Unit& unit, std::vector<std::uint8_t>& bytes);
// The unit in `bytes`, or null for an empty blob. Throws 0xfa0021 for a corrupt blob.
UnitPtr ReadBlob(std::span<const std::uint8_t> bytes, const Construction::UnitFactory& factory);

// Where a blob's bytes go.
class BinaryDataConsumer
{
public:
    virtual ~BinaryDataConsumer() = default;
    virtual void Consume(const std::uint8_t* data, std::size_t size) = 0;
};

// Appends to a byte vector.
class BlobWriter final : public BinaryDataConsumer
{
public:
    explicit BlobWriter(std::vector<std::uint8_t>& bytes) : Bytes(bytes) {}
    void Consume(const std::uint8_t* data, std::size_t size) override
    {
        Bytes.insert(Bytes.end(), data, data + size);
    }

private:
    std::vector<std::uint8_t>& Bytes;
};

// Only adds up the sizes.
class BlobSizeEvalLogic final : public BinaryDataConsumer
{
public:
    void Consume(const std::uint8_t*, std::size_t size) override { Size += size; }
    std::size_t GetSize() const { return Size; }

private:
    std::size_t Size = 0;
};

// Turns walk events into blob bytes.
class BinaryDataProvider final : public UnitWalker
{
public:
    explicit BinaryDataProvider(BinaryDataConsumer& consumer) : Consumer(consumer) {}

    void OnUnitBegin() override;
    void OnEnd() override;
    void OnProperty(std::string_view name) override;
    void OnTrait(std::string_view name) override;
    void OnNil() override;
    void OnError(const Common::Error& value) override;
    void OnString(Common::WideStringView value) override;
    void OnGuid(const Common::Guid& value) override;
    void OnBlob(std::span<const std::uint8_t> value) override;
    void OnDouble(double value) override;
    void OnSQWord(std::int64_t value) override;
    void OnQWord(std::uint64_t value) override;
    void OnSDWord(std::int32_t value) override;
    void OnDWord(std::uint32_t value) override;
    void OnSWord(std::int16_t value) override;
    void OnWord(std::uint16_t value) override;
    void OnSByte(std::int8_t value) override;
    void OnByte(std::uint8_t value) override;
    void OnBoolean(bool value) override;
    void OnArray() override;
    void OnComposite() override;

private:
    BinaryDataConsumer& Consumer;
};

// Walks a blob, giving one OnUnitBegin per 'E'. Throws 0xfa0021 for a corrupt blob; events already
// given stay given.
class BlobWalkingRoute
{
public:
    explicit BlobWalkingRoute(std::span<const std::uint8_t> bytes) : Bytes(bytes) {}
    void Follow(UnitWalker& walker) const;

private:
    std::span<const std::uint8_t> Bytes;
};

} // namespace Por::Util
