// Parameter kinds of error records: one kind per parameter set, declared once by the module that raises
// it (for example "TraceLevel,$module" or "path,function,$module"), with the type of each value.
#pragma once

#include "common/ErrorRecord.h"

#include <concepts>
#include <cstdint>
#include <initializer_list>
#include <string_view>

namespace Common
{

class ErrorParameter
{
public:
    enum class Type : std::uint8_t
    {
        Number = 'N',
        String = 'A',
        WideString = 'W',
    };

    template <std::integral T>
    ErrorParameter(T number) : Kind(Type::Number), Number(static_cast<std::uint64_t>(number))
    {
    }
    ErrorParameter(std::string_view text) : Kind(Type::String), Narrow(text) {}
    ErrorParameter(const char* text) : ErrorParameter(std::string_view(text ? text : "")) {}
    ErrorParameter(WideStringView text) : Kind(Type::WideString), Wide(text) {}
    ErrorParameter(const char16_t* text) : ErrorParameter(WideStringView(text ? text : u"")) {}

    Type Kind;
    std::uint64_t Number = 0;
    std::string_view Narrow;
    WideStringView Wide;
};

// A kind's operations are shared by all kinds; the keys and types tell them apart. `keys` is the whole
// list that GetKeys answers, ending in "$module"; `types` has one entry per key before "$module".
class ErrorKind : public ErrorRecordOps
{
public:
    static constexpr std::size_t MaximumParameters = 4;

    constexpr ErrorKind(const char* keys, std::initializer_list<ErrorParameter::Type> types);

    const char* Keys;
    std::uint8_t Count = 0;
    ErrorParameter::Type Types[MaximumParameters] = {};
};

namespace Detail
{
void DestroyParameterRecord(ErrorRecord* record);
ErrorRecord* CloneParameterRecord(const ErrorRecord* record);
void GetParameterMessage(WideString& out, const ErrorRecord* record);
std::uint64_t GetParameterNumber(const ErrorRecord* record, const char* key);
const char* GetParameterString(const ErrorRecord* record, const char* key);
const char16_t* GetParameterWideString(const ErrorRecord* record, const char* key);
const char* GetParameterKeys(const ErrorRecord* record);
} // namespace Detail

constexpr ErrorKind::ErrorKind(const char* keys, std::initializer_list<ErrorParameter::Type> types)
    : ErrorRecordOps{Detail::DestroyParameterRecord, Detail::CloneParameterRecord,
                     Detail::GetParameterMessage,    Detail::GetParameterNumber,
                     Detail::GetParameterString,     Detail::GetParameterWideString,
                     Detail::GetParameterKeys},
      Keys(keys)
{
    for (ErrorParameter::Type type : types)
    {
        if (Count < MaximumParameters)
        {
            Types[Count++] = type;
        }
    }
}

// Kinds of the foundation.
extern const ErrorKind TraceLevelErrorKind; // "TraceLevel,$module": number
extern const ErrorKind ErrnoErrorKind;      // "Errno,$module": number

} // namespace Common
