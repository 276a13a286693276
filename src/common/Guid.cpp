#include "common/Guid.h"

#include "common/CatalogIds.h"
#include "common/Error.h"
#include "common/FormatText.h"
#include "common/Random.h"
#include "common/SafeAssert.h"
#include "common/Utf8.h"

#include <cctype>
#include <cstdio>

namespace Common
{

std::string GuidToString(const Guid& guid)
{
    char text[40];
    std::snprintf(text, sizeof text, "%08lX-%04hX-%04hX-%02X%02X-%02X%02X%02X%02X%02X%02X",
                  static_cast<unsigned long>(guid.Data1), guid.Data2, guid.Data3, guid.Data4[0],
                  guid.Data4[1], guid.Data4[2], guid.Data4[3], guid.Data4[4], guid.Data4[5], guid.Data4[6],
                  guid.Data4[7]);
    return text;
}

WideString GuidToWideString(const Guid& guid)
{
    const std::string text = GuidToString(guid);
    return WideString(text.begin(), text.end());
}

bool GuidFromString(const char* text, Guid& guid)
{
    SAFE_ASSERT_TEXT(text != nullptr, "t");
    if (text == nullptr)
    {
        return false;
    }
    // Every field is read into a variable of the size its conversion writes (%lX writes a long).
    unsigned long data1 = 0;
    unsigned short data2 = 0;
    unsigned short data3 = 0;
    unsigned int data4[8] = {};
    const int fields =
        std::sscanf(text, "%08lX-%04hX-%04hX-%02X%02X-%02X%02X%02X%02X%02X%02X", &data1, &data2, &data3,
                    &data4[0], &data4[1], &data4[2], &data4[3], &data4[4], &data4[5], &data4[6], &data4[7]);
    if (fields != 11)
    {
        return false;
    }
    guid.Data1 = static_cast<std::uint32_t>(data1);
    guid.Data2 = data2;
    guid.Data3 = data3;
    for (int i = 0; i < 8; ++i)
    {
        guid.Data4[i] = static_cast<std::uint8_t>(data4[i]);
    }
    return true;
}

void GenerateGuid(Guid& guid, const void* name)
{
    SAFE_ASSERT_TEXT(name == nullptr, "false");
    std::uint8_t bytes[16];
    RandomBytes(bytes, sizeof bytes, false);
    guid.Data1 = static_cast<std::uint32_t>(bytes[0] | bytes[1] << 8 | bytes[2] << 16) |
                 static_cast<std::uint32_t>(bytes[3]) << 24;
    guid.Data2 = static_cast<std::uint16_t>(bytes[4] | bytes[5] << 8);
    guid.Data3 = static_cast<std::uint16_t>(((bytes[6] | bytes[7] << 8) & 0x0FFF) | 0x4000);
    for (int i = 0; i < 8; ++i)
    {
        guid.Data4[i] = bytes[8 + i];
    }
    guid.Data4[0] = static_cast<std::uint8_t>((guid.Data4[0] & 63) | 128);
}

} // namespace Common

namespace Core
{
namespace
{

// The canonical 36-character shape: hex digits with dashes after 8, 12, 16 and 20 of them.
bool LooksLikeGuid(const std::string& text)
{
    if (text.size() != 36)
    {
        return false;
    }
    for (std::size_t i = 0; i < text.size(); ++i)
    {
        const bool dash = i == 8 || i == 13 || i == 18 || i == 23;
        if (dash ? text[i] != '-' : !std::isxdigit(static_cast<unsigned char>(text[i])))
        {
            return false;
        }
    }
    return true;
}

} // namespace

Common::Guid ToGuid(const std::string& text)
{
    Common::Guid guid;
    if (!LooksLikeGuid(text) || !Common::GuidFromString(text.c_str(), guid))
    {
        std::string utf8Text = text;
        Common::WideString wide;
        Common::Utf8ToWide(wide, utf8Text.c_str(), utf8Text.size());
        throw Common::Error(COMMON_LOCATION("Core::ToGuid"), Common::MakeErrorCode(0x00E6, 0x0005),
                            Common::FormatText(Common::GetText(Common::Texts::InvalidGuid), {wide}));
    }
    return guid;
}

Common::Guid ToGuid(const Common::WideString& text)
{
    std::string narrow;
    Common::WideToUtf8(narrow, text.c_str(), text.size());
    return ToGuid(narrow);
}

} // namespace Core
