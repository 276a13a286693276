// Common::Error: the one failure value of the system. A handle of one pointer over a reference-counted,
// singly linked chain of immutable records (code, location, message, parameters); the head is the error
// as its last reporter saw it, the records behind it are its causes. A null handle is success.
// Creating an error never fails: an allocation failure yields the static out-of-memory record.
// Handles may be copied and released on any thread, each thread using its own handle.
#pragma once

#include "common/ErrorLocation.h"
#include "common/ErrorRecord.h"
#include "common/WideString.h"

#include <cstdint>
#include <initializer_list>
#include <string_view>

// The build tag of the library being compiled; each library's targets define their own.
#ifndef VELTRIX_MODULE
#define VELTRIX_MODULE "Veltrix"
#endif

namespace Common
{

class ErrorKind;
class ErrorParameter;

// The build tag that a record answers to "$module". Constructors default it to the tag of the library
// whose code raises the error.
struct ModuleTag
{
    explicit constexpr ModuleTag(const char* text) : Text(text) {}
    const char* Text;
};

namespace Detail
{
struct ErrorAccess;
}

class Error
{
public:
    // Success.
    constexpr Error() noexcept = default;

    // With code 0 every constructor yields success and ignores all else.
    Error(ErrorLocation location, std::uint32_t code, ModuleTag module = ModuleTag(VELTRIX_MODULE));
    // Narrow text: each byte is one character of the message (no code page).
    Error(ErrorLocation location, std::uint32_t code, std::string_view text,
          ModuleTag module = ModuleTag(VELTRIX_MODULE));
    Error(ErrorLocation location, std::uint32_t code, WideStringView text,
          ModuleTag module = ModuleTag(VELTRIX_MODULE));
    // A record of a parameter kind; `values` match the kind's keys in order and type.
    Error(ErrorLocation location, std::uint32_t code, const ErrorKind& kind, WideStringView text,
          std::initializer_list<ErrorParameter> values, ModuleTag module = ModuleTag(VELTRIX_MODULE));

    Error(const Error& other) noexcept : Record(other.Record) { Detail::AddReference(Record); }
    Error(Error&& other) noexcept : Record(other.Record) { other.Record = nullptr; }
    Error& operator=(const Error& other) noexcept;
    Error& operator=(Error&& other) noexcept;
    ~Error() { Detail::ReleaseChain(Record); }

    // The head's code; 0 for success. Failure is any other value.
    std::uint32_t GetCode() const noexcept;
    // The head's whole location; all zero for success.
    ErrorLocation GetLineTag() const noexcept;
    // The head's message; empty for success.
    void GetMessage(WideString& out) const;
    WideString GetMessage() const;
    // A handle to the head's cause, success if none.
    Error GetSubError() const noexcept;

    // The head's parameters; success and absent keys answer 0, null and "".
    std::uint64_t GetNumber(const char* key) const;
    const char* GetString(const char* key) const;
    const char16_t* GetWideString(const char* key) const;
    const char* GetKeys() const;

    // Makes `cause` the head's only sub-error (replacing any earlier one). A head shared with other
    // handles is cloned first, so they keep seeing the chain they had. On success this handle becomes
    // `cause` itself. If a clone can't be made the cause is dropped and the head kept.
    Error& SetSubError(const Error& cause);

    // Chain a system status record (code 0xFFF0) as the sub-error. A Windows error code becomes an
    // HRESULT (positive values: (value & 0xFFFF) | 0x80070000); an NT status is marked by bit 28.
    Error& AddWindowsError(ErrorLocation location, std::uint32_t value);
    Error& AddWindowsError(std::uint32_t value);
    Error& AddHResult(ErrorLocation location, std::uint32_t value);
    Error& AddHResult(std::uint32_t value);
    Error& AddNTStatus(ErrorLocation location, std::uint32_t value);
    Error& AddNTStatus(std::uint32_t value);

    friend bool operator==(const Error& left, const Error& right) noexcept
    {
        return left.GetCode() == right.GetCode();
    }

private:
    friend struct Detail::ErrorAccess;
    explicit Error(ErrorRecord* adopted) noexcept : Record(adopted) {}

    ErrorRecord* Record = nullptr;
};

// The value that means nothing went wrong.
extern const Error Success;

// Error codes are (module << 16) | value.
constexpr std::uint32_t MakeErrorCode(std::uint32_t module, std::uint32_t value)
{
    return (module << 16) | (value & 0xFFFF);
}

inline constexpr std::uint32_t ThreadCreationFailedCode = 7;
inline constexpr std::uint32_t SystemErrorCode = 0xFFF0;
inline constexpr std::uint32_t OutOfMemoryCode = 0xFFF2;

namespace Detail
{

// The record layer's access to handles: adopt a reference, peek at the head.
struct ErrorAccess
{
    static Error Adopt(ErrorRecord* record) noexcept { return Error(record); }
    static const ErrorRecord* Head(const Error& error) noexcept { return error.Record; }
};

} // namespace Detail
} // namespace Common
