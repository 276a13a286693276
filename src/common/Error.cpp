#include "common/Error.h"

#include "common/ErrorKind.h"
#include "common/ErrorRecord.h"
#include "common/SafeAssert.h"
#include "common/SystemMessages.h"
#include "common/TextCatalog.h"

#include <cstring>
#include <new>

namespace Common
{

constinit const Error Success;

namespace Detail
{

ErrorRecord* AllocateRecord(std::size_t size)
{
    void* block = ::operator new(size, std::nothrow);
    if (block == nullptr)
    {
        return nullptr;
    }
    std::memset(block, 0, size);
    auto* record = new (block) ErrorRecord{};
    record->Size = static_cast<std::uint32_t>(size);
    return record;
}

void FreeRecord(ErrorRecord* record)
{
    record->~ErrorRecord();
    ::operator delete(static_cast<void*>(record));
}

ErrorRecord* CopyRecordBlock(const ErrorRecord* record, std::size_t size)
{
    void* block = ::operator new(size, std::nothrow);
    if (block == nullptr)
    {
        return nullptr;
    }
    // The tail is plain bytes (offsets are relative); the header is built anew with one reference.
    if (size > sizeof(ErrorRecord))
    {
        std::memcpy(static_cast<unsigned char*>(block) + sizeof(ErrorRecord),
                    reinterpret_cast<const unsigned char*>(record) + sizeof(ErrorRecord),
                    size - sizeof(ErrorRecord));
    }
    return new (block)
        ErrorRecord{{1},          record->Code,    nullptr,       record->Ops, record->Location,
                    record->Size, record->Message, record->Module};
}

void DestroyChain(ErrorRecord* record)
{
    ErrorRecord* next = record->Next;
    record->Ops->Destroy(record);
    while (next != nullptr)
    {
        record = next;
        if (__libc_single_threaded)
        {
            const std::uint32_t count = record->RefCount.load(std::memory_order_relaxed);
            record->RefCount.store(count - 1, std::memory_order_relaxed);
            if (count != 1)
            {
                return;
            }
        }
        else if (record->RefCount.fetch_sub(1, std::memory_order_acq_rel) != 1)
        {
            return;
        }
        next = record->Next;
        record->Ops->Destroy(record);
    }
}

std::uint64_t BaseGetNumber(const ErrorRecord*, const char*)
{
    return 0;
}

const char* BaseGetString(const ErrorRecord* record, const char* key)
{
    return key != nullptr && std::strcmp(key, "$module") == 0 ? record->Module : nullptr;
}

const char16_t* BaseGetWideString(const ErrorRecord*, const char*)
{
    return nullptr;
}

} // namespace Detail

namespace
{

using Detail::AllocateRecord;
using Detail::RecordText;

const char* ModuleKeys(const ErrorRecord*)
{
    return "$module";
}

void EmptyMessage(WideString& out, const ErrorRecord*)
{
    out.clear();
}

ErrorRecord* CloneHeaderOnly(const ErrorRecord* record)
{
    return Detail::CopyRecordBlock(record, sizeof(ErrorRecord));
}

ErrorRecord* CloneWholeBlock(const ErrorRecord* record)
{
    return Detail::CopyRecordBlock(record, record->Size);
}

void NarrowMessage(WideString& out, const ErrorRecord* record)
{
    out.clear();
    const auto* text = static_cast<const unsigned char*>(RecordText(record));
    for (; text != nullptr && *text != 0; ++text)
    {
        out.push_back(static_cast<char16_t>(*text));
    }
}

void WideMessage(WideString& out, const ErrorRecord* record)
{
    const auto* text = static_cast<const char16_t*>(RecordText(record));
    out.assign(text != nullptr ? text : u"");
}

constexpr ErrorRecordOps CodeOnlyOps{
    Detail::FreeRecord,    CloneHeaderOnly,           EmptyMessage, Detail::BaseGetNumber,
    Detail::BaseGetString, Detail::BaseGetWideString, ModuleKeys};
constexpr ErrorRecordOps NarrowTextOps{
    Detail::FreeRecord,    CloneWholeBlock,           NarrowMessage, Detail::BaseGetNumber,
    Detail::BaseGetString, Detail::BaseGetWideString, ModuleKeys};
constexpr ErrorRecordOps WideTextOps{
    Detail::FreeRecord,    CloneWholeBlock,           WideMessage, Detail::BaseGetNumber,
    Detail::BaseGetString, Detail::BaseGetWideString, ModuleKeys};

// The system status record: Size holds the status value, the block is a bare header.
void SystemMessage(WideString& out, const ErrorRecord* record)
{
    std::uint32_t status = record->Size;
    const bool ntStatus = (status & 0x10000000u) != 0;
    if (ntStatus)
    {
        status &= ~0x10000000u;
    }
    out = GetSystemMessage(status, ntStatus);
    std::erase(out, u'\r');
    if (!out.empty() && out.back() == u'\n')
    {
        out.pop_back();
    }
    if (!out.empty() && out.back() == u'.' && out.find(u'\n') == WideString::npos)
    {
        out.pop_back();
    }
}

std::uint64_t SystemNumber(const ErrorRecord* record, const char* key)
{
    return key != nullptr && std::strcmp(key, "code") == 0 ? record->Size : 0;
}

const char* SystemKeys(const ErrorRecord*)
{
    return "code,$module";
}

constexpr ErrorRecordOps SystemErrorOps{Detail::FreeRecord, CloneHeaderOnly,       SystemMessage,
                                        SystemNumber,       Detail::BaseGetString, Detail::BaseGetWideString,
                                        SystemKeys};

constinit ErrorRecord OutOfMemory{{1}, OutOfMemoryCode,     nullptr, &CodeOnlyOps,
                                  {},  sizeof(ErrorRecord), 0,       VELTRIX_MODULE};

using Detail::TakeOutOfMemory;

ErrorRecord* Initialize(ErrorRecord* record, std::uint32_t code, const ErrorRecordOps* ops,
                        const ErrorLocation& location, ModuleTag module)
{
    return Detail::InitializeRecord(record, code, ops, location, module.Text);
}

// A text in the catalog lives for the process: point at it. Other texts are copied behind the header.
template <typename Char>
ErrorRecord* MakeTextRecord(std::basic_string_view<Char> text, std::uint32_t code, const ErrorRecordOps* ops,
                            const ErrorLocation& location, ModuleTag module)
{
    const bool inCatalog = !text.empty() && IsCatalogText(text.data()) && text.data()[text.size()] == 0;
    const std::size_t length = inCatalog ? 0 : text.size() * sizeof(Char);
    ErrorRecord* record = AllocateRecord(sizeof(ErrorRecord) + (length != 0 ? length + sizeof(Char) : 0));
    if (record == nullptr)
    {
        return TakeOutOfMemory();
    }
    if (length != 0)
    {
        std::memcpy(reinterpret_cast<unsigned char*>(record) + sizeof(ErrorRecord), text.data(), length);
        record->Message = sizeof(ErrorRecord);
    }
    else if (inCatalog)
    {
        record->Message = reinterpret_cast<std::uintptr_t>(text.data());
    }
    return Initialize(record, code, ops, location, module);
}

ErrorRecord* Acquire(ErrorRecord* record)
{
    Detail::AddReference(record);
    return record;
}

} // namespace

Error::Error(ErrorLocation location, std::uint32_t code, ModuleTag module)
{
    if (code == 0)
    {
        return;
    }
    ErrorRecord* record = AllocateRecord(sizeof(ErrorRecord));
    Record = record != nullptr ? Initialize(record, code, &CodeOnlyOps, location, module) : TakeOutOfMemory();
}

Error::Error(ErrorLocation location, std::uint32_t code, std::string_view text, ModuleTag module)
{
    if (code != 0)
    {
        Record = MakeTextRecord(text, code, &NarrowTextOps, location, module);
    }
}

Error::Error(ErrorLocation location, std::uint32_t code, WideStringView text, ModuleTag module)
{
    if (code != 0)
    {
        Record = MakeTextRecord(text, code, &WideTextOps, location, module);
    }
}

Error& Error::operator=(const Error& other) noexcept
{
    ErrorRecord* previous = Record;
    Record = Acquire(other.Record);
    Detail::ReleaseChain(previous);
    return *this;
}

Error& Error::operator=(Error&& other) noexcept
{
    if (this != &other)
    {
        Detail::ReleaseChain(Record);
        Record = other.Record;
        other.Record = nullptr;
    }
    return *this;
}

std::uint32_t Error::GetCode() const noexcept
{
    return Record != nullptr ? Record->Code : 0;
}

ErrorLocation Error::GetLineTag() const noexcept
{
    return Record != nullptr ? Record->Location : ErrorLocation{};
}

void Error::GetMessage(WideString& out) const
{
    if (Record == nullptr)
    {
        out.clear();
        return;
    }
    Record->Ops->GetMessage(out, Record);
}

WideString Error::GetMessage() const
{
    WideString message;
    GetMessage(message);
    return message;
}

Error Error::GetSubError() const noexcept
{
    return Error(Acquire(Record != nullptr ? Record->Next : nullptr));
}

std::uint64_t Error::GetNumber(const char* key) const
{
    return Record != nullptr ? Record->Ops->GetNumber(Record, key) : 0;
}

const char* Error::GetString(const char* key) const
{
    return Record != nullptr ? Record->Ops->GetString(Record, key) : nullptr;
}

const char16_t* Error::GetWideString(const char* key) const
{
    return Record != nullptr ? Record->Ops->GetWideString(Record, key) : nullptr;
}

const char* Error::GetKeys() const
{
    return Record != nullptr ? Record->Ops->GetKeys(Record) : "";
}

Error& Error::SetSubError(const Error& cause)
{
    ErrorRecord* next = Acquire(cause.Record);
    if (Record == nullptr)
    {
        Record = next;
        return *this;
    }
    if (Record->RefCount.load(std::memory_order_acquire) == 1)
    {
        ErrorRecord* previous = Record->Next;
        Record->Next = next;
        Detail::ReleaseChain(previous);
        return *this;
    }
    // Others see this head: change a private copy so their chains stay as they were.
    ErrorRecord* clone = Record->Ops->Clone(Record);
    if (clone == nullptr)
    {
        Detail::ReleaseChain(next);
        return *this;
    }
    clone->Next = next;
    Detail::ReleaseChain(Record);
    Record = clone;
    return *this;
}

namespace
{

Error MakeSystemRecord(const ErrorLocation& location, std::uint32_t status)
{
    ErrorRecord* record = AllocateRecord(sizeof(ErrorRecord));
    if (record == nullptr)
    {
        return Detail::ErrorAccess::Adopt(TakeOutOfMemory());
    }
    Initialize(record, SystemErrorCode, &SystemErrorOps, location, ModuleTag(VELTRIX_MODULE));
    record->Size = status;
    return Detail::ErrorAccess::Adopt(record);
}

} // namespace

Error& Error::AddWindowsError(ErrorLocation location, std::uint32_t value)
{
    const std::uint32_t status =
        static_cast<std::int32_t>(value) > 0 ? (value & 0xFFFFu) | 0x80070000u : value;
    return SetSubError(MakeSystemRecord(location, status));
}

Error& Error::AddWindowsError(std::uint32_t value)
{
    return AddWindowsError(COMMON_LOCATION("Common::Error::AddWindowsError"), value);
}

Error& Error::AddHResult(ErrorLocation location, std::uint32_t value)
{
    return SetSubError(MakeSystemRecord(location, value));
}

Error& Error::AddHResult(std::uint32_t value)
{
    return AddHResult(COMMON_LOCATION("Common::Error::AddHResult"), value);
}

Error& Error::AddNTStatus(ErrorLocation location, std::uint32_t value)
{
    return SetSubError(MakeSystemRecord(location, value | 0x10000000u));
}

Error& Error::AddNTStatus(std::uint32_t value)
{
    return AddNTStatus(COMMON_LOCATION("Common::Error::AddNTStatus"), value);
}

namespace Detail
{

ErrorRecord* InitializeRecord(ErrorRecord* record, std::uint32_t code, const ErrorRecordOps* ops,
                              const ErrorLocation& location, const char* module)
{
    record->RefCount.store(1, std::memory_order_relaxed);
    record->Code = code;
    record->Ops = ops;
    record->Location = location;
    record->Module = module;
    return record;
}

ErrorRecord* TakeOutOfMemory()
{
    OutOfMemory.RefCount.fetch_add(1, std::memory_order_relaxed);
    return &OutOfMemory;
}

} // namespace Detail
} // namespace Common
