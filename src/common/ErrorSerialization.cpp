#include "common/ErrorSerialization.h"

#include "common/ErrorRecord.h"
#include "common/Utf8.h"

#include <cstring>
#include <mutex>
#include <new>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace Common
{
namespace
{

constexpr std::uint8_t FormatVersion = 0x01;
constexpr char FileKey[] = "$file";
constexpr char FunctionKey[] = "$func";
constexpr char LineKey[] = "$line";

// Counts every byte and copies those that fit.
class ByteSink
{
public:
    ByteSink(void* buffer, std::size_t capacity)
        : Buffer(static_cast<std::uint8_t*>(buffer)), Capacity(capacity)
    {
    }

    void Put(const void* data, std::size_t length)
    {
        if (Position < Capacity && Buffer != nullptr)
        {
            std::memcpy(Buffer + Position, data, std::min(length, Capacity - Position));
        }
        Position += length;
    }
    void PutByte(std::uint8_t byte) { Put(&byte, 1); }
    void PutText(std::string_view text)
    {
        Put(text.data(), text.size());
        PutByte(0);
    }
    void PutNumber(std::uint64_t value, int bytes)
    {
        std::uint8_t little[8];
        for (int i = 0; i < bytes; ++i)
        {
            little[i] = static_cast<std::uint8_t>(value >> (8 * i));
        }
        Put(little, bytes);
    }
    std::size_t Size() const { return Position; }

private:
    std::uint8_t* Buffer;
    std::size_t Capacity;
    std::size_t Position = 0;
};

void WriteWide(ByteSink& sink, const char16_t* text)
{
    std::string utf8;
    WideToUtf8(utf8, text, static_cast<std::size_t>(-1));
    sink.PutText(utf8);
}

void WriteRecord(ByteSink& sink, const ErrorRecord* record)
{
    sink.PutNumber(record->Code, 4);
    sink.PutNumber(record->Location.LineTag, 8);
    WideString message;
    record->Ops->GetMessage(message, record);
    WriteWide(sink, message.c_str());

    const std::string keys = record->Ops->GetKeys(record) != nullptr ? record->Ops->GetKeys(record) : "";
    std::size_t start = 0;
    while (start <= keys.size())
    {
        std::size_t end = keys.find(',', start);
        end = end == std::string::npos ? keys.size() : end;
        const std::string key = keys.substr(start, end - start);
        start = end + 1;
        if (key.empty())
        {
            continue;
        }
        sink.PutText(key);
        if (const char* text = record->Ops->GetString(record, key.c_str()))
        {
            sink.PutByte('A');
            sink.PutText(text);
        }
        else if (const char16_t* wide = record->Ops->GetWideString(record, key.c_str()))
        {
            sink.PutByte('W');
            WriteWide(sink, wide);
        }
        else
        {
            sink.PutByte('N');
            sink.PutNumber(record->Ops->GetNumber(record, key.c_str()), 8);
        }
    }
    const ErrorLocation& location = record->Location;
    if (location.File != nullptr)
    {
        sink.Put(FileKey, sizeof FileKey);
        sink.PutByte('A');
        sink.PutText(location.File);
    }
    if (location.Function != nullptr)
    {
        sink.Put(FunctionKey, sizeof FunctionKey);
        sink.PutByte('A');
        sink.PutText(location.Function);
    }
    if (location.Line != 0)
    {
        sink.Put(LineKey, sizeof LineKey);
        sink.PutByte('N');
        sink.PutNumber(location.Line, 8);
    }
    sink.PutByte(0);
}

std::size_t Write(const Error& error, void* buffer, std::size_t capacity)
{
    const ErrorRecord* record = Detail::ErrorAccess::Head(error);
    if (record == nullptr)
    {
        return 0;
    }
    ByteSink sink(buffer, capacity);
    sink.PutByte(FormatVersion);
    for (; record != nullptr; record = record->Next)
    {
        WriteRecord(sink, record);
    }
    return sink.Size();
}

// Parsed records keep their block layout: header | uint32 offsets (key list, then one per key, each
// pointing at the key's type byte) | message UTF-16 + NUL | key list + NUL | per key: type, value.
// 'W' values are 2-byte aligned UTF-16; 'N' values are 8 unaligned bytes. The message follows the table
// directly, so the table's length, and with it the key count, follows from Message.
class ParsedRecord
{
public:
    explicit ParsedRecord(const ErrorRecord* record)
        : Block(reinterpret_cast<const std::uint8_t*>(record)),
          Count(static_cast<std::uint32_t>((record->Message - sizeof(ErrorRecord)) / 4 - 1))
    {
    }

    const char* Keys() const { return reinterpret_cast<const char*>(Block + Offset(0)); }

    // The type byte of `key`, followed by its value; null if the record has no such key.
    const std::uint8_t* Find(const char* key) const
    {
        if (key == nullptr)
        {
            return nullptr;
        }
        const std::size_t keyLength = std::strlen(key);
        const char* start = Keys();
        for (std::uint32_t index = 0; index < Count; ++index)
        {
            const char* end = std::strchr(start, ',');
            const std::size_t length =
                end != nullptr ? static_cast<std::size_t>(end - start) : std::strlen(start);
            if (length == keyLength && std::memcmp(start, key, length) == 0)
            {
                return Block + Offset(index + 1);
            }
            if (end == nullptr)
            {
                break;
            }
            start = end + 1;
        }
        return nullptr;
    }

private:
    std::uint32_t Offset(std::uint32_t index) const
    {
        std::uint32_t value;
        std::memcpy(&value, Block + sizeof(ErrorRecord) + 4 * index, 4);
        return value;
    }

    const std::uint8_t* Block;
    std::uint32_t Count;
};

// 'W' values start on an even address: the type byte sits right before them.
const std::uint8_t* ValueOf(const std::uint8_t* type)
{
    return type + 1;
}

void ParsedMessage(WideString& out, const ErrorRecord* record)
{
    out.assign(static_cast<const char16_t*>(Detail::RecordText(record)));
}

ErrorRecord* ParsedClone(const ErrorRecord* record)
{
    return Detail::CopyRecordBlock(record, record->Size);
}

std::uint64_t ParsedNumber(const ErrorRecord* record, const char* key)
{
    const std::uint8_t* type = ParsedRecord(record).Find(key);
    if (type == nullptr || *type != 'N')
    {
        return 0;
    }
    std::uint64_t value = 0;
    for (int i = 7; i >= 0; --i)
    {
        value = (value << 8) | ValueOf(type)[i];
    }
    return value;
}

const char* ParsedString(const ErrorRecord* record, const char* key)
{
    const std::uint8_t* type = ParsedRecord(record).Find(key);
    return type != nullptr && *type == 'A' ? reinterpret_cast<const char*>(ValueOf(type)) : nullptr;
}

const char16_t* ParsedWideString(const ErrorRecord* record, const char* key)
{
    const std::uint8_t* type = ParsedRecord(record).Find(key);
    return type != nullptr && *type == 'W' ? reinterpret_cast<const char16_t*>(ValueOf(type)) : nullptr;
}

const char* ParsedKeys(const ErrorRecord* record)
{
    return ParsedRecord(record).Keys();
}

constexpr ErrorRecordOps ParsedOps{Detail::FreeRecord, ParsedClone,      ParsedMessage, ParsedNumber,
                                   ParsedString,       ParsedWideString, ParsedKeys};

struct ScannedParameter
{
    std::string_view Key;
    std::uint8_t Type;
    const std::uint8_t* Value;
    std::size_t Length; // bytes of text values, without their NUL
};

// Reads blobs strictly within [Data, Data + Size).
class Reader
{
public:
    Reader(const std::uint8_t* data, std::size_t size) : Data(data), Size(size) {}

    std::size_t Remaining() const { return Size - Position; }
    // Length of the NUL-terminated text at the position, or -1 if no NUL follows within the blob.
    std::ptrdiff_t TextLength() const
    {
        const void* nul = std::memchr(Data + Position, 0, Remaining());
        return nul != nullptr ? static_cast<const std::uint8_t*>(nul) - (Data + Position) : -1;
    }
    std::uint64_t Number(int bytes)
    {
        std::uint64_t value = 0;
        for (int i = bytes - 1; i >= 0; --i)
        {
            value = (value << 8) | Data[Position + i];
        }
        Position += bytes;
        return value;
    }
    const std::uint8_t* Here() const { return Data + Position; }
    void Skip(std::size_t bytes) { Position += bytes; }

private:
    const std::uint8_t* Data;
    std::size_t Size;
    std::size_t Position = 0;
};

struct ScannedRecord
{
    std::uint32_t Code = 0;
    std::uint64_t LineTag = 0;
    WideString Message;
    std::vector<ScannedParameter> Parameters;
    std::string_view File;
    std::string_view Function;
    bool HasFile = false;
    bool HasFunction = false;
    std::uint64_t Line = 0;
};

bool Matches(std::string_view key, std::uint8_t type, const char* name, std::uint8_t expected)
{
    return type == expected && key == name;
}

// One record from the reader's position; false if it is not complete and well-formed.
bool ScanRecord(Reader& reader, ScannedRecord& out)
{
    if (reader.Remaining() < 12)
    {
        return false;
    }
    out.Code = static_cast<std::uint32_t>(reader.Number(4));
    if (out.Code == 0)
    {
        return false;
    }
    out.LineTag = reader.Number(8);
    const std::ptrdiff_t messageLength = reader.TextLength();
    if (messageLength < 0 || !Utf8ToWide(out.Message, reinterpret_cast<const char*>(reader.Here()),
                                         static_cast<std::size_t>(messageLength)))
    {
        return false;
    }
    reader.Skip(messageLength + 1);
    for (;;)
    {
        if (reader.Remaining() == 0)
        {
            return false;
        }
        const std::ptrdiff_t keyLength = reader.TextLength();
        if (keyLength < 0)
        {
            return false;
        }
        if (keyLength == 0)
        {
            reader.Skip(1);
            return true;
        }
        const std::string_view key(reinterpret_cast<const char*>(reader.Here()), keyLength);
        reader.Skip(keyLength + 1);
        if (reader.Remaining() < 2)
        {
            return false;
        }
        ScannedParameter parameter{key, *reader.Here(), nullptr, 0};
        reader.Skip(1);
        parameter.Value = reader.Here();
        if (parameter.Type == 'A' || parameter.Type == 'W')
        {
            const std::ptrdiff_t length = reader.TextLength();
            if (length < 0)
            {
                return false;
            }
            parameter.Length = static_cast<std::size_t>(length);
            reader.Skip(length + 1);
        }
        else if (parameter.Type == 'N')
        {
            if (reader.Remaining() < 8)
            {
                return false;
            }
            parameter.Length = 8;
            reader.Skip(8);
        }
        else
        {
            return false;
        }

        const auto text = std::string_view(reinterpret_cast<const char*>(parameter.Value), parameter.Length);
        if (Matches(key, parameter.Type, FileKey, 'A'))
        {
            out.File = text;
            out.HasFile = true;
        }
        else if (Matches(key, parameter.Type, FunctionKey, 'A'))
        {
            out.Function = text;
            out.HasFunction = true;
        }
        else if (Matches(key, parameter.Type, LineKey, 'N'))
        {
            Reader number(parameter.Value, 8);
            out.Line = number.Number(8);
        }
        else
        {
            out.Parameters.push_back(parameter);
        }
    }
}

void Append(std::vector<std::uint8_t>& block, const void* data, std::size_t length)
{
    const auto* bytes = static_cast<const std::uint8_t*>(data);
    block.insert(block.end(), bytes, bytes + length);
}

void PutOffset(std::vector<std::uint8_t>& block, std::size_t index)
{
    const auto value = static_cast<std::uint32_t>(block.size());
    std::memcpy(block.data() + sizeof(ErrorRecord) + 4 * index, &value, 4);
}

// Builds the parsed record's block; null if memory is short.
ErrorRecord* BuildRecord(const ScannedRecord& scanned)
{
    std::vector<std::uint8_t> block(sizeof(ErrorRecord) + 4 * (scanned.Parameters.size() + 1));
    const std::size_t messageOffset = block.size();
    Append(block, scanned.Message.c_str(), (scanned.Message.size() + 1) * 2);

    PutOffset(block, 0);
    for (std::size_t i = 0; i < scanned.Parameters.size(); ++i)
    {
        if (i != 0)
        {
            block.push_back(',');
        }
        Append(block, scanned.Parameters[i].Key.data(), scanned.Parameters[i].Key.size());
    }
    block.push_back(0);

    WideString wide;
    for (std::size_t i = 0; i < scanned.Parameters.size(); ++i)
    {
        const ScannedParameter& parameter = scanned.Parameters[i];
        if (parameter.Type == 'W' && block.size() % 2 == 0)
        {
            block.push_back(0);
        }
        PutOffset(block, i + 1);
        block.push_back(parameter.Type);
        if (parameter.Type == 'W')
        {
            Utf8ToWide(wide, reinterpret_cast<const char*>(parameter.Value), parameter.Length);
            Append(block, wide.c_str(), (wide.size() + 1) * 2);
        }
        else
        {
            Append(block, parameter.Value, parameter.Length);
            if (parameter.Type == 'A')
            {
                block.push_back(0);
            }
        }
    }

    const char* file = nullptr;
    const char* function = nullptr;
    if (scanned.HasFile && (file = Detail::InternText(scanned.File.data(), scanned.File.size())) == nullptr)
    {
        return nullptr;
    }
    if (scanned.HasFunction &&
        (function = Detail::InternText(scanned.Function.data(), scanned.Function.size())) == nullptr)
    {
        return nullptr;
    }
    ErrorRecord* record = Detail::AllocateRecord(block.size());
    if (record == nullptr)
    {
        return nullptr;
    }
    std::memcpy(reinterpret_cast<std::uint8_t*>(record) + sizeof(ErrorRecord),
                block.data() + sizeof(ErrorRecord), block.size() - sizeof(ErrorRecord));
    const ErrorLocation location{scanned.LineTag, file, function, static_cast<std::uint32_t>(scanned.Line)};
    Detail::InitializeRecord(record, scanned.Code, &ParsedOps, location, nullptr);
    record->Message = messageOffset;
    return record;
}

} // namespace

std::unique_ptr<std::uint8_t[]> Serialize(const Error& error, std::size_t& size)
{
    size = Write(error, nullptr, 0);
    if (size == 0)
    {
        return nullptr;
    }
    auto block = std::make_unique<std::uint8_t[]>(size);
    Write(error, block.get(), size);
    return block;
}

std::size_t Serialize(const Error& error, void* buffer, std::size_t capacity)
{
    return Write(error, buffer, capacity);
}

Error Deserialize(const void* bytes, std::size_t size)
{
    const auto* data = static_cast<const std::uint8_t*>(bytes);
    if (data == nullptr || size == 0 || data[0] != FormatVersion)
    {
        return Success;
    }
    Reader reader(data + 1, size - 1);
    ErrorRecord* head = nullptr;
    ErrorRecord** link = &head;
    try
    {
        for (;;)
        {
            ScannedRecord scanned;
            if (!ScanRecord(reader, scanned))
            {
                break;
            }
            ErrorRecord* record = BuildRecord(scanned);
            if (record == nullptr)
            {
                break;
            }
            *link = record;
            link = &record->Next;
        }
    }
    catch (const std::bad_alloc&)
    {
        // What is linked so far is complete; that is the answer.
    }
    return Detail::ErrorAccess::Adopt(head);
}

Error DeepCopy(const Error& error)
{
    if (error.GetCode() == 0)
    {
        return Success;
    }
    std::size_t size = 0;
    const std::unique_ptr<std::uint8_t[]> blob = Serialize(error, size);
    return Deserialize(blob.get(), size);
}

namespace Detail
{

const char* InternText(const char* text, std::size_t length)
{
    // Records keep raw pointers to these names, so they live until the process ends.
    static std::mutex lock;
    static std::set<std::string, std::less<>> names;
    const std::string_view name(text, length);
    std::lock_guard<std::mutex> guard(lock);
    try
    {
        return names.emplace(name).first->c_str();
    }
    catch (const std::bad_alloc&)
    {
        return nullptr;
    }
}

} // namespace Detail
} // namespace Common
