// Arbitrary bytes as a blob, also as one that embeds serialised errors: reading must give a unit or
// Common::Error 0xfa0021 and nothing else, never crash or read out of bounds; what was read must write
// back and read again to the same bytes (after one round, which settles embedded errors' key lists).
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "common/Error.h"
#include "por/Blob.h"
#include "por/UnitFactory.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::vector<std::uint8_t> bytes(data, data + size); // exact size: any overread is seen
    Por::UnitPtr unit;
    try
    {
        unit = Por::Util::ReadBlob(bytes, Por::GetUnitFactory());
    }
    catch (const Common::Error& error)
    {
        if (error.GetCode() != 0xfa0021)
        {
            std::abort();
        }
        return 0;
    }
    catch (...)
    {
        std::abort();
    }
    if (unit == nullptr)
    {
        return 0;
    }
    std::vector<std::uint8_t> first;
    Por::Util::WriteBlob(*unit, first);
    if (first.size() != Por::Util::GetBlobSize(*unit))
    {
        std::abort();
    }
    std::vector<std::uint8_t> second;
    Por::Util::WriteBlob(*Por::Util::ReadBlob(first, Por::GetUnitFactory()), second);
    std::vector<std::uint8_t> third;
    Por::Util::WriteBlob(*Por::Util::ReadBlob(second, Por::GetUnitFactory()), third);
    if (second != third)
    {
        std::abort();
    }
    return 0;
}
