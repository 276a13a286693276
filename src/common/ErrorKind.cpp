#include "common/ErrorKind.h"

#include "common/Error.h"
#include "common/SafeAssert.h"
#include "common/TextCatalog.h"

#include <cstring>

namespace Common
{

const ErrorKind TraceLevelErrorKind("TraceLevel,$module", {ErrorParameter::Type::Number});
const ErrorKind ErrnoErrorKind("Errno,$module", {ErrorParameter::Type::Number});

// Block of a parameter record: header, one 64-bit slot per parameter (the number, or the offset of the
// text), the message, wide values, narrow values.
namespace
{

const ErrorKind& KindOf(const ErrorRecord* record)
{
    return *static_cast<const ErrorKind*>(record->Ops);
}

std::uint64_t Slot(const ErrorRecord* record, std::size_t index)
{
    std::uint64_t value;
    std::memcpy(&value, reinterpret_cast<const unsigned char*>(record) + sizeof(ErrorRecord) + index * 8, 8);
    return value;
}

// The index of `key` among the kind's parameters, or -1.
int FindKey(const ErrorKind& kind, const char* key)
{
    if (key == nullptr)
    {
        return -1;
    }
    const std::size_t keyLength = std::strlen(key);
    const char* start = kind.Keys;
    for (int index = 0; index < kind.Count; ++index)
    {
        const char* end = std::strchr(start, ',');
        const std::size_t length =
            end != nullptr ? static_cast<std::size_t>(end - start) : std::strlen(start);
        if (length == keyLength && std::memcmp(start, key, length) == 0)
        {
            return index;
        }
        if (end == nullptr)
        {
            break;
        }
        start = end + 1;
    }
    return -1;
}

const void* TextAt(const ErrorRecord* record, std::uint64_t offset)
{
    return reinterpret_cast<const unsigned char*>(record) + offset;
}

} // namespace

namespace Detail
{

void DestroyParameterRecord(ErrorRecord* record)
{
    FreeRecord(record);
}

ErrorRecord* CloneParameterRecord(const ErrorRecord* record)
{
    return CopyRecordBlock(record, record->Size);
}

void GetParameterMessage(WideString& out, const ErrorRecord* record)
{
    const auto* text = static_cast<const char16_t*>(RecordText(record));
    out.assign(text != nullptr ? text : u"");
}

std::uint64_t GetParameterNumber(const ErrorRecord* record, const char* key)
{
    const ErrorKind& kind = KindOf(record);
    const int index = FindKey(kind, key);
    if (index < 0)
    {
        return BaseGetNumber(record, key);
    }
    return kind.Types[index] == ErrorParameter::Type::Number ? Slot(record, index) : 0;
}

const char* GetParameterString(const ErrorRecord* record, const char* key)
{
    const ErrorKind& kind = KindOf(record);
    const int index = FindKey(kind, key);
    if (index < 0)
    {
        return BaseGetString(record, key);
    }
    return kind.Types[index] == ErrorParameter::Type::String
               ? static_cast<const char*>(TextAt(record, Slot(record, index)))
               : nullptr;
}

const char16_t* GetParameterWideString(const ErrorRecord* record, const char* key)
{
    const ErrorKind& kind = KindOf(record);
    const int index = FindKey(kind, key);
    if (index < 0)
    {
        return BaseGetWideString(record, key);
    }
    return kind.Types[index] == ErrorParameter::Type::WideString
               ? static_cast<const char16_t*>(TextAt(record, Slot(record, index)))
               : nullptr;
}

const char* GetParameterKeys(const ErrorRecord* record)
{
    return KindOf(record).Keys;
}

} // namespace Detail

Error::Error(ErrorLocation location, std::uint32_t code, const ErrorKind& kind, WideStringView text,
             std::initializer_list<ErrorParameter> values, ModuleTag module)
{
    if (code == 0)
    {
        return;
    }
    SAFE_ASSERT_TEXT(values.size() == kind.Count, "values.size() == kind.Count");

    // Missing or mistyped values are stored as 0 or empty text, so the record still answers every key.
    const ErrorParameter* resolved[ErrorKind::MaximumParameters] = {};
    for (std::size_t index = 0; index < kind.Count && index < values.size(); ++index)
    {
        const ErrorParameter& value = values.begin()[index];
        SAFE_ASSERT_TEXT(value.Kind == kind.Types[index], "value.Kind == kind.Types[index]");
        resolved[index] = value.Kind == kind.Types[index] ? &value : nullptr;
    }
    auto valueAt = [&](std::size_t index) { return resolved[index]; };

    const bool inCatalog = !text.empty() && IsCatalogText(text.data()) && text.data()[text.size()] == 0;
    const std::size_t slots = sizeof(ErrorRecord) + 8 * kind.Count;
    std::size_t size = slots + (inCatalog || text.empty() ? 0 : (text.size() + 1) * 2);
    for (std::size_t index = 0; index < kind.Count; ++index)
    {
        const ErrorParameter* value = valueAt(index);
        if (kind.Types[index] == ErrorParameter::Type::WideString)
        {
            size += ((value != nullptr ? value->Wide.size() : 0) + 1) * 2;
        }
    }
    for (std::size_t index = 0; index < kind.Count; ++index)
    {
        const ErrorParameter* value = valueAt(index);
        if (kind.Types[index] == ErrorParameter::Type::String)
        {
            size += (value != nullptr ? value->Narrow.size() : 0) + 1;
        }
    }

    ErrorRecord* record = Detail::AllocateRecord(size);
    if (record == nullptr)
    {
        Record = Detail::TakeOutOfMemory();
        return;
    }
    auto* block = reinterpret_cast<unsigned char*>(record);
    std::size_t position = slots;
    if (inCatalog)
    {
        record->Message = reinterpret_cast<std::uintptr_t>(text.data());
    }
    else if (!text.empty())
    {
        std::memcpy(block + position, text.data(), text.size() * 2);
        record->Message = position;
        position += (text.size() + 1) * 2;
    }
    // Wide values first keeps them 2-byte aligned; the block is zeroed, so terminators are in place.
    for (ErrorParameter::Type pass : {ErrorParameter::Type::WideString, ErrorParameter::Type::String})
    {
        for (std::size_t index = 0; index < kind.Count; ++index)
        {
            if (kind.Types[index] != pass)
            {
                continue;
            }
            const ErrorParameter* value = valueAt(index);
            const std::uint64_t offset = position;
            std::memcpy(block + sizeof(ErrorRecord) + index * 8, &offset, 8);
            if (pass == ErrorParameter::Type::WideString)
            {
                const std::size_t length = value != nullptr ? value->Wide.size() : 0;
                if (length != 0)
                {
                    std::memcpy(block + position, value->Wide.data(), length * 2);
                }
                position += (length + 1) * 2;
            }
            else
            {
                const std::size_t length = value != nullptr ? value->Narrow.size() : 0;
                if (length != 0)
                {
                    std::memcpy(block + position, value->Narrow.data(), length);
                }
                position += length + 1;
            }
        }
    }
    for (std::size_t index = 0; index < kind.Count; ++index)
    {
        const ErrorParameter* value = valueAt(index);
        if (kind.Types[index] == ErrorParameter::Type::Number)
        {
            const std::uint64_t number = value != nullptr ? value->Number : 0;
            std::memcpy(block + sizeof(ErrorRecord) + index * 8, &number, 8);
        }
    }
    Record = Detail::InitializeRecord(record, code, &kind, location, module.Text);
}

} // namespace Common
