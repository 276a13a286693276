#include "common/FormatText.h"

#include <cstddef>

namespace Common
{

namespace
{

template <typename Char>
std::basic_string<Char> Format(std::basic_string_view<Char> format,
                               std::span<const std::basic_string_view<Char>> arguments)
{
    std::basic_string<Char> out;
    out.reserve(format.size());
    std::size_t pos = 0;
    for (;;)
    {
        const std::size_t open = format.find(Char('{'), pos);
        if (open == format.npos)
        {
            break;
        }
        std::size_t end = open + 1;
        std::size_t index = 0;
        for (; end < format.size() && format[end] >= Char('0') && format[end] <= Char('9'); ++end)
        {
            // Saturates past the argument count, so a huge index is merely out of range.
            if (index <= arguments.size())
            {
                index = index * 10 + static_cast<std::size_t>(format[end] - Char('0'));
            }
        }
        if (end == open + 1 || end == format.size() || format[end] != Char('}'))
        {
            out.append(format, pos, end - pos);
            pos = end;
            continue;
        }
        if (index >= arguments.size())
        {
            break;
        }
        out.append(format, pos, open - pos);
        out.append(arguments[index]);
        pos = end + 1;
    }
    out.append(format, pos);
    return out;
}

} // namespace

std::string FormatText(std::string_view format, std::span<const std::string_view> arguments)
{
    return Format(format, arguments);
}

WideString FormatText(WideStringView format, std::span<const WideStringView> arguments)
{
    return Format(format, arguments);
}

} // namespace Common
