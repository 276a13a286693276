#include "common/Utf8.h"

namespace Common
{
namespace
{

constexpr char16_t Replacement = 0xFFFD;

bool IsContinuation(unsigned char byte)
{
    return (byte & 0xC0) == 0x80;
}

// True if `count` continuation bytes follow `position` within the limit.
bool HasContinuations(const unsigned char* bytes, std::size_t position, std::size_t limit, int count)
{
    for (int i = 1; i <= count; ++i)
    {
        if (position + i >= limit || !IsContinuation(bytes[position + i]))
        {
            return false;
        }
    }
    return true;
}

// Input ends at a NUL or at `maximum`, whichever comes first.
std::size_t MeasureInput(const char* bytes, std::size_t maximum)
{
    std::size_t length = 0;
    while (length < maximum && bytes[length] != '\0')
    {
        ++length;
    }
    return length;
}

} // namespace

bool Utf8ToWide(WideString& out, const char* text, std::size_t maximum)
{
    out.clear();
    if (text == nullptr)
    {
        return true;
    }
    const auto* bytes = reinterpret_cast<const unsigned char*>(text);
    const std::size_t limit = MeasureInput(text, maximum);
    out.reserve(limit);
    bool clean = true;
    std::size_t i = 0;
    while (i < limit)
    {
        const unsigned char lead = bytes[i];
        if (lead < 0x80)
        {
            out.push_back(lead);
            i += 1;
        }
        else if ((lead & 0xE0) == 0xC0 && HasContinuations(bytes, i, limit, 1))
        {
            const char32_t value = ((lead & 0x1Fu) << 6) | (bytes[i + 1] & 0x3Fu);
            clean = clean && value > 127;
            out.push_back(static_cast<char16_t>(value));
            i += 2;
        }
        else if ((lead & 0xF0) == 0xE0 && HasContinuations(bytes, i, limit, 2))
        {
            const char32_t value =
                ((lead & 0x0Fu) << 12) | ((bytes[i + 1] & 0x3Fu) << 6) | (bytes[i + 2] & 0x3Fu);
            clean = clean && value > 2047;
            out.push_back(static_cast<char16_t>(value));
            i += 3;
        }
        else if ((lead & 0xF8) == 0xF0 && HasContinuations(bytes, i, limit, 3))
        {
            const char32_t value = ((lead & 0x07u) << 18) | ((bytes[i + 1] & 0x3Fu) << 12) |
                                   ((bytes[i + 2] & 0x3Fu) << 6) | (bytes[i + 3] & 0x3Fu);
            if (value < 0x10000)
            {
                clean = false;
                out.push_back(static_cast<char16_t>(value));
            }
            else if (value >= 0x110000)
            {
                clean = false;
                out.push_back(Replacement);
            }
            else
            {
                out.push_back(static_cast<char16_t>(((value - 0x10000) >> 10) | 0xD800));
                out.push_back(static_cast<char16_t>((value & 0x3FF) | 0xDC00));
            }
            i += 4;
        }
        else
        {
            clean = false;
            out.push_back(Replacement);
            i += 1;
        }
    }
    return clean;
}

bool WideToUtf8(std::string& out, const char16_t* text, std::size_t maximum)
{
    out.clear();
    if (text == nullptr)
    {
        return true;
    }
    std::size_t limit = 0;
    while (limit < maximum && text[limit] != 0)
    {
        ++limit;
    }
    out.reserve(limit * 3);
    for (std::size_t i = 0; i < limit; ++i)
    {
        char32_t value = text[i];
        if (value >= 0xD800 && value < 0xDC00 && i + 1 < limit && text[i + 1] >= 0xDC00 &&
            text[i + 1] < 0xE000)
        {
            value = 0x10000 + ((value - 0xD800) << 10) + (text[i + 1] - 0xDC00);
            ++i;
        }
        if (value < 0x80)
        {
            out.push_back(static_cast<char>(value));
        }
        else if (value < 0x800)
        {
            out.push_back(static_cast<char>(0xC0 | (value >> 6)));
            out.push_back(static_cast<char>(0x80 | (value & 0x3F)));
        }
        else if (value < 0x10000)
        {
            out.push_back(static_cast<char>(0xE0 | (value >> 12)));
            out.push_back(static_cast<char>(0x80 | ((value >> 6) & 0x3F)));
            out.push_back(static_cast<char>(0x80 | (value & 0x3F)));
        }
        else
        {
            out.push_back(static_cast<char>(0xF0 | (value >> 18)));
            out.push_back(static_cast<char>(0x80 | ((value >> 12) & 0x3F)));
            out.push_back(static_cast<char>(0x80 | ((value >> 6) & 0x3F)));
            out.push_back(static_cast<char>(0x80 | (value & 0x3F)));
        }
    }
    return true;
}

} // namespace Common
