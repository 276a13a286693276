// Feeds arbitrary bytes to the UTF-8 decoder: no crash and no read past the limit; and whatever units
// come out, the encoder's bytes for them decode back to the same units.
#include "common/Utf8.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::vector<char> bytes(data, data + size); // exact size: any overread is seen
    Common::WideString wide;
    Common::Utf8ToWide(wide, bytes.data(), bytes.size());
    std::string encoded;
    Common::WideToUtf8(encoded, wide.c_str(), wide.size());
    Common::WideString decoded;
    if (!Common::Utf8ToWide(decoded, encoded.c_str(), encoded.size()) &&
        wide.find(u'\0') == Common::WideString::npos)
    {
        // The encoder writes only clean forms (lone surrogates included).
        std::abort();
    }
    if (decoded != wide.substr(0, wide.find(u'\0')))
    {
        std::abort();
    }
    return 0;
}
