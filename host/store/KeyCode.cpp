#include "KeyCode.h"

#include "por/Blob.h"
#include "por/DecoratorBasics.h"
#include "por/Unit.h"

#include <algorithm>
#include <cstdint>

namespace Host::Store::Detail
{
namespace
{

// The unit as it is, less the traits of its root.
class ValueOnlyUnit final : public Por::DelegatingUnit
{
public:
    using DelegatingUnit::DelegatingUnit;
    const Por::View::Traits& GetTraits() const override { return Por::Detail::EmptyTraits(); }
};

} // namespace

std::string MakeKeyCode(const Por::View::Unit& key)
{
    // One buffer per thread: a lookup by key then allocates only the code itself.
    thread_local std::vector<std::uint8_t> bytes;
    Por::Util::WriteBlob(ValueOnlyUnit(key), bytes);
    return std::string(reinterpret_cast<const char*>(bytes.data()), bytes.size());
}

std::vector<std::string> GetClassCodes(const Por::View::Unit& object)
{
    std::vector<std::string> codes;
    auto collect = Por::MakeProcessor<const Por::View::Trait>(
        [&](const Por::View::Trait& trait)
        {
            std::string code = MakeKeyCode(trait.GetValue());
            // A class named twice counts once: the table's per-class figures count objects.
            if (std::find(codes.begin(), codes.end(), code) == codes.end())
            {
                codes.push_back(std::move(code));
            }
        });
    object.GetTraits().ForEachNamed("Is", collect);
    return codes;
}

} // namespace Host::Store::Detail
