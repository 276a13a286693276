// Feeds arbitrary bytes to the error parser: it must never crash, read out of bounds or leak, and its
// result must settle: once written and read again, writing gives the same bytes every time. (Keys with
// commas, or a parameter named like a location pseudo-key, can't survive the comma-joined key list
// unchanged; one round of writing and reading normalises them.)
#include "common/ErrorSerialization.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace
{

struct Blob
{
    std::unique_ptr<std::uint8_t[]> Bytes;
    std::size_t Size = 0;
};

Blob Write(const Common::Error& error)
{
    Blob blob;
    blob.Bytes = Common::Serialize(error, blob.Size);
    return blob;
}

} // namespace

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
    const Blob first = Write(parsed);
    const Blob second = Write(Common::Deserialize(first.Bytes.get(), first.Size));
    const Blob third = Write(Common::Deserialize(second.Bytes.get(), second.Size));
    if (second.Size != third.Size ||
        (second.Size != 0 && std::memcmp(second.Bytes.get(), third.Bytes.get(), second.Size) != 0))
    {
        std::abort();
    }
    return 0;
}
