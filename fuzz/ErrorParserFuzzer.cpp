// Feeds arbitrary bytes to the error parser: it must never crash, read out of bounds or leak, and what
// it returns must serialise and parse back to the same bytes.
#include "common/ErrorSerialization.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const Common::Error parsed = Common::Deserialize(data, size);
    for (Common::Error record = parsed; record.GetCode() != 0; record = record.GetSubError())
    {
        (void)record.GetMessage();
        (void)record.GetString("$module");
        (void)record.GetNumber("TraceLevel");
        (void)record.GetWideString("path");
    }
    std::size_t first = 0;
    const auto blob = Common::Serialize(parsed, first);
    std::size_t second = 0;
    const auto again = Common::Serialize(Common::Deserialize(blob.get(), first), second);
    if (first != second || (first != 0 && std::memcmp(blob.get(), again.get(), first) != 0))
    {
        std::abort();
    }
    return 0;
}
