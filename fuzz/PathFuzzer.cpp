// Arbitrary text as a path over a small unit with traits, arrays and nested composites: both walks,
// resolution in all faces, escaping, putting and removing may throw Common::Error and nothing else, and
// never crash or read out of bounds.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <exception>

#include "common/Error.h"
#include "por/Path.h"
#include "por/UnitAccess.h"
#include "por/UnitBuilder.h"
#include "por/UnitFactory.h"

namespace
{

class CountingWalker final : public Por::Util::PathWalker
{
public:
    void OnProperty(std::string_view name) override { Steps += name.size() + 1; }
    void OnArrayElement() override {}
    void OnEmptyPath() override {}
    std::size_t Steps = 0;
};

Por::UnitPtr SmallUnit()
{
    return Por::Util::Build()
        .Composite()
        .Trait("Is", u"Object")
        .Trait("Is", u"Other")
        .Property("a")
        .Composite()
        .Property("b", 1u)
        .Property("a..b", u"dots")
        .Property("x.y", 2u)
        .End()
        .Property("list")
        .Array()
        .Element(1u)
        .Value(2u)
        .Trait("T", u"t")
        .End()
        .Composite()
        .Property("c", true)
        .End()
        .End()
        .Property("1", u"one")
        .Done();
}

template <typename Call>
void Guard(Call call)
{
    try
    {
        call();
    }
    catch (const Common::Error&)
    {
    }
    catch (...)
    {
        std::abort(); // only Common::Error may leave the model
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    // Even offsets take the bytes as UTF-16 units, so separators, escapes and surrogates all occur.
    Common::WideString path;
    for (std::size_t i = 0; i + 1 < size; i += 2)
    {
        path.push_back(static_cast<char16_t>(data[i] | data[i + 1] << 8));
    }
    static const Por::UnitPtr unit = SmallUnit();
    const Por::Construction::UnitFactory& factory = Por::GetUnitFactory();

    Guard([&] {
        CountingWalker walker;
        Por::Util::WalkPath(path, walker);
    });
    Guard([&] { (void)Por::Util::ResolvePath(path, *unit); });
    Guard([&] { (void)Por::Util::ResolveBranch(path, static_cast<const Por::View::Unit&>(*unit)); });
    Guard([&] { (void)Por::Util::PathExists(path, *unit); });
    Guard([&] {
        const Common::WideString escaped = Por::Util::EscapeToken(path);
        (void)Por::Util::UnescapeToken(escaped);
    });
    Guard([&] {
        Por::UnitPtr copy = Por::Util::Copy(*unit, factory);
        copy = Por::Util::PutUnitInLocationEx(copy, path, *factory.CreateDWord(7), factory);
        (void)Por::Util::RemoveAtPath(*copy, path);
    });
    Guard([&] { (void)Por::Util::PutUnitInLocation(path, *unit, factory); });
    return 0;
}
