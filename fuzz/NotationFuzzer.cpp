// Arbitrary text as a unit in the host's JSON notation: reading must give a unit or a Common::Error of
// the notation (0x03000010 to 0x03000018) and nothing else, never crash; what was read must print, and
// the print must read back to a unit that prints the same text.
#include "common/Error.h"
#include "por/Unit.h"
#include "scenario/JsonText.h"
#include "scenario/UnitNotation.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    Por::UnitPtr unit;
    try
    {
        unit = Host::Scenario::ReadUnit(Host::Scenario::ParseJsonText(text, "fuzz"));
    }
    catch (const Common::Error& error)
    {
        if (error.GetCode() < 0x03000010 || error.GetCode() > 0x03000018)
        {
            std::abort();
        }
        return 0;
    }
    catch (...)
    {
        std::abort();
    }
    const std::string printed = Host::Scenario::PrintUnit(*unit);
    const Por::UnitPtr back = Host::Scenario::ReadUnit(Host::Scenario::ParseJsonText(printed, "fuzz"));
    if (Host::Scenario::PrintUnit(*back) != printed)
    {
        std::abort();
    }
    return 0;
}
