// The record layer under Common::Error: one allocation per record, a fixed header followed by a
// kind-specific tail, and a table of seven operations that says what kind the record is.
// Records are immutable except for RefCount and Next; Next changes only while RefCount is 1.
#pragma once

#include "common/ErrorLocation.h"
#include "common/WideString.h"

#include <sys/single_threaded.h>

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace Common
{

struct ErrorRecord;

struct ErrorRecordOps
{
    void (*Destroy)(ErrorRecord* record);
    // A private copy with RefCount 1 and Next null, or null when memory is short.
    ErrorRecord* (*Clone)(const ErrorRecord* record);
    void (*GetMessage)(WideString& out, const ErrorRecord* record);
    // The parameter's number, 0 when absent.
    std::uint64_t (*GetNumber)(const ErrorRecord* record, const char* key);
    const char* (*GetString)(const ErrorRecord* record, const char* key);
    const char16_t* (*GetWideString)(const ErrorRecord* record, const char* key);
    // Comma-separated keys of every parameter of the kind.
    const char* (*GetKeys)(const ErrorRecord* record);
};

struct ErrorRecord
{
    std::atomic<std::uint32_t> RefCount;
    std::uint32_t Code;
    ErrorRecord* Next;
    const ErrorRecordOps* Ops;
    ErrorLocation Location;
    // Size of the record block; the system-error kind keeps its status value here instead.
    std::uint32_t Size;
    // Text kinds: an offset from the record's start when below Size, else the address of text that
    // outlives the record (catalog text), or 0.
    std::uintptr_t Message;
    // Build tag of the library that made the record; null for parsed records, which store theirs.
    const char* Module;
};

namespace Detail
{

// Allocates a zeroed block of `size` bytes (at least a header) without throwing; null on failure.
ErrorRecord* AllocateRecord(std::size_t size);
void FreeRecord(ErrorRecord* record);
// A copy of the whole block with RefCount 1 and Next null; null on failure.
ErrorRecord* CopyRecordBlock(const ErrorRecord* record, std::size_t size);

// Destroys `record`, whose count has dropped to zero, and releases the chain behind it, without recursion.
void DestroyChain(ErrorRecord* record);

// Counting takes plain loads and stores while the process has never started a second thread: no other
// thread can see the record then, and the shared library's fast path equals std::shared_ptr's.
inline void AddReference(ErrorRecord* record) noexcept
{
    if (record == nullptr)
    {
        return;
    }
    if (__libc_single_threaded)
    {
        record->RefCount.store(record->RefCount.load(std::memory_order_relaxed) + 1,
                               std::memory_order_relaxed);
    }
    else
    {
        record->RefCount.fetch_add(1, std::memory_order_relaxed);
    }
}

// Releases one reference and every record that drops to zero behind it.
inline void ReleaseChain(ErrorRecord* record) noexcept
{
    if (record == nullptr)
    {
        return;
    }
    std::uint32_t before;
    if (__libc_single_threaded)
    {
        before = record->RefCount.load(std::memory_order_relaxed);
        record->RefCount.store(before - 1, std::memory_order_relaxed);
    }
    else
    {
        before = record->RefCount.fetch_sub(1, std::memory_order_acq_rel);
    }
    if (before == 1)
    {
        DestroyChain(record);
    }
}

// The text a text kind's Message designates (offset or address), or null.
inline const void* RecordText(const ErrorRecord* record)
{
    if (record->Message == 0)
    {
        return nullptr;
    }
    if (record->Message < record->Size)
    {
        return reinterpret_cast<const unsigned char*>(record) + record->Message;
    }
    return reinterpret_cast<const void*>(record->Message);
}

// The base answers of every kind: only "$module" is known.
std::uint64_t BaseGetNumber(const ErrorRecord* record, const char* key);
const char* BaseGetString(const ErrorRecord* record, const char* key);
const char16_t* BaseGetWideString(const ErrorRecord* record, const char* key);

// Fills the header of a fresh block; the caller's handle holds the one reference.
ErrorRecord* InitializeRecord(ErrorRecord* record, std::uint32_t code, const ErrorRecordOps* ops,
                              const ErrorLocation& location, const char* module);

// A new reference to the static out-of-memory record (code 0xFFF2), which is never freed.
ErrorRecord* TakeOutOfMemory();

} // namespace Detail
} // namespace Common
