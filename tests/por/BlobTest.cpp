#include "por/Blob.h"

#include "TestUnits.h"
#include "por/Compare.h"
#include "por/UnitAccess.h"
#include "por/UnitBuilder.h"
#include "por/UnitFactory.h"
#include "por/UnitPrinter.h"

#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <string>
#include <vector>

namespace
{

using namespace Por;
using namespace Por::Testing;
using Bytes = std::vector<std::uint8_t>;

Bytes Write(const View::Unit& unit)
{
    Bytes bytes;
    Util::WriteBlob(unit, bytes);
    EXPECT_EQ(bytes.size(), Util::GetBlobSize(unit));
    return bytes;
}

Bytes Concat(std::initializer_list<Bytes> parts)
{
    Bytes all;
    for (const Bytes& part : parts)
    {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

// A string payload: kind byte, byte length, UTF-16LE.
Bytes StringBytes(std::u16string_view text)
{
    Bytes bytes{13};
    const auto length = static_cast<std::uint32_t>(text.size() * 2);
    for (int i = 0; i < 4; ++i)
    {
        bytes.push_back(static_cast<std::uint8_t>(length >> (8 * i)));
    }
    for (char16_t unit : text)
    {
        bytes.push_back(static_cast<std::uint8_t>(unit));
        bytes.push_back(static_cast<std::uint8_t>(unit >> 8));
    }
    return bytes;
}

TEST(BlobTest, WriterBytesAreExact)
{
    EXPECT_EQ(Write(*Factory.CreateComposite()), (Bytes{'U', 'C', 'E'}));
    EXPECT_EQ(Write(*Factory.CreateNil()), (Bytes{'U', 0x00, 'E'}));
    EXPECT_EQ(Write(*Factory.CreateArray()), (Bytes{'U', 'A', 'E'}));
    EXPECT_EQ(Write(*Factory.CreateString(u"ab")), Concat({{'U'}, StringBytes(u"ab"), {'E'}}));
    EXPECT_EQ(Write(*Factory.CreateSWord(-2)), (Bytes{'U', 5, 0xFE, 0xFF, 'E'}));
    EXPECT_EQ(Write(*Factory.CreateBoolean(true)), (Bytes{'U', 1, 1, 'E'}));
    EXPECT_EQ(Write(*Factory.CreateBlob({7, 8})), (Bytes{'U', 11, 2, 0, 0, 0, 7, 8, 'E'}));

    // Properties in name order, each a unit; traits behind the value.
    // clang-format off
    const UnitPtr unit = Util::Build().Composite().Trait("Is", u"X").Property("b", std::uint8_t{2})
        .Property("a").Array().Element(std::uint8_t{1}).End().Done();
    // clang-format on
    EXPECT_EQ(Write(*unit), Concat({{'U', 'C', 'P'},
                                    StringBytes(u"a"),
                                    {'U', 'A', 'U', 2, 1, 'E', 'E', 'P'},
                                    StringBytes(u"b"),
                                    {'U', 2, 2, 'E', 'T'},
                                    StringBytes(u"Is"),
                                    {'U'},
                                    StringBytes(u"X"),
                                    {'E', 'E'}}));
}

// Every kind, traits with repeated names, nesting; error units compare by code and message.
UnitPtr RandomTree(std::mt19937& random, int depth)
{
    auto pick = [&](int bound) { return static_cast<int>(random() % static_cast<unsigned>(bound)); };
    const int kind = depth >= 4 ? 16 : depth <= 0 ? pick(15) : pick(17);
    // clang-format off
    const std::function<UnitPtr()> leaves[] = {
        [&] { return Factory.CreateNil(); },
        [&] { return Factory.CreateBoolean(pick(2) == 1); },
        [&] { return Factory.CreateByte(static_cast<std::uint8_t>(random())); },
        [&] { return Factory.CreateSByte(static_cast<std::int8_t>(random())); },
        [&] { return Factory.CreateWord(static_cast<std::uint16_t>(random())); },
        [&] { return Factory.CreateSWord(static_cast<std::int16_t>(random())); },
        [&] { return Factory.CreateDWord(static_cast<std::uint32_t>(random())); },
        [&] { return Factory.CreateSDWord(static_cast<std::int32_t>(random())); },
        [&] { return Factory.CreateQWord(static_cast<std::uint64_t>(random()) << 32 | random()); },
        [&] { return Factory.CreateSQWord(-static_cast<std::int64_t>(random())); },
        [&] { return Factory.CreateDouble(static_cast<double>(random()) / 7.0); },
        [&] { return Factory.CreateBlob(Blob(static_cast<std::size_t>(pick(5)),
                                             static_cast<std::uint8_t>(pick(256)))); },
        [&] { return Factory.CreateGuid(Common::Guid{static_cast<std::uint32_t>(random()), 1, 2, {3}}); },
        [&] { return Factory.CreateString(String(static_cast<std::size_t>(pick(6)),
                                                 static_cast<char16_t>(0x20 + pick(0xD000)))); },
        [&] { return Factory.CreateError(
                  Common::Error(COMMON_LOCATION("Random"), 0x00FA0000u + random() % 100, u"e")); },
    };
    // clang-format on
    UnitPtr unit = kind < 15    ? leaves[kind]()
                   : kind == 15 ? Factory.CreateArray()
                                : Factory.CreateComposite();
    for (int i = kind < 15 ? 0 : pick(kind == 15 ? 4 : 5); i > 0; --i)
    {
        if (kind == 15)
        {
            Util::GetArray(*unit).PushBack(RandomTree(random, depth - 1));
        }
        else
        {
            Util::GetComposite(*unit).Set(
                Factory.CreateProperty("p" + std::to_string(pick(8)), RandomTree(random, depth - 1)));
        }
    }
    for (int i = depth > 0 ? pick(3) : 0; i > 0; --i)
    {
        unit->GetTraits().Add(
            Factory.CreateTrait(pick(2) ? "Is" : "t\xC3\xA9", RandomTree(random, depth - 2)));
    }
    return unit;
}

TEST(BlobTest, RandomTreesSurviveARoundTrip)
{
    std::mt19937 random(20261122);
    for (int i = 0; i < 2000; ++i)
    {
        const UnitPtr tree = RandomTree(random, 4);
        const Bytes bytes = Write(*tree);
        const UnitPtr back = Util::ReadBlob(bytes, Factory);
        ASSERT_NE(back, nullptr);
        ASSERT_TRUE(UnitEqual(*back, *tree)) << i << "\n" << Util::UnitToString(*tree);
        // The walking route gives the same unit through the event interface.
        Util::UnitBuildingWalker builder(Factory);
        Util::BlobWalkingRoute(bytes).Follow(builder);
        ASSERT_TRUE(UnitEqual(*builder.Result(), *tree)) << i;
    }
    EXPECT_EQ(Util::ReadBlob({}, Factory), nullptr);
}

TEST(BlobTest, ReaderAcceptsUnitsWithoutTheirBeginMark)
{
    // A bare 'C' is a unit; a value behind a property name too.
    const Bytes bytes = Concat({{'C', 'P'}, StringBytes(u"a"), {6, 1, 0, 0, 0, 'E', 'E'}});
    const UnitPtr unit = Util::ReadBlob(bytes, Factory);
    EXPECT_TRUE(UnitEqual(*unit, *Util::Build().Composite().Property("a", 1u).Done()));
}

// The position a corrupt blob's error names (none: the largest size).
std::size_t FailurePosition(const Bytes& bytes)
{
    const Common::Error error = Failure([&] { Util::ReadBlob(bytes, Factory); });
    EXPECT_EQ(error.GetCode(), 0xfa0021u);
    const std::u16string message = error.GetMessage();
    const std::size_t at = message.rfind(u"position '");
    return at == std::u16string::npos
               ? SIZE_MAX
               : std::stoul(
                     std::string(message.begin() + static_cast<std::ptrdiff_t>(at) + 10, message.end() - 2));
}

TEST(BlobTest, CorruptBlobsThrowNamingThePosition)
{
    struct Case
    {
        const char* Name;
        Bytes Blob;
        std::size_t Position;
    };
    const Case cases[] = {
        {"stray value byte", {'U', 0x10, 'E'}, 1},
        {"stray end", {'E'}, 0},
        {"end before the value", {'U', 'E'}, 1},
        {"property outside a composite", Concat({{'U', 0, 'P'}, StringBytes(u"a"), {'U', 0, 'E', 'E'}}), 2},
        {"second root", {'U', 0, 'E', 'U', 0, 'E'}, 3},
        {"trailing byte", {'U', 0, 'E', 0}, 3},
        {"unclosed unit", {'U', 'C'}, 2},
        {"string length beyond the end", {'U', 13, 9, 0, 0, 0, 'a', 0, 'E'}, 1},
        {"odd string length", {'U', 13, 1, 0, 0, 0, 'a', 'E'}, 1},
        {"blob length beyond the end", {'U', 11, 0xFF, 0xFF, 0xFF, 0xFF, 'E'}, 1},
        {"short dword", {'U', 6, 1, 0}, 1},
        {"name without its unit", Concat({{'U', 'C', 'P'}, StringBytes(u"a"), {'E'}}), 10},
        {"element in a composite", {'U', 'C', 'U', 0, 'E', 'E'}, 2},
        {"value twice", {'U', 0, 0, 'E'}, 2},
    };
    for (const Case& test : cases)
    {
        EXPECT_EQ(FailurePosition(test.Blob), test.Position) << test.Name;
    }
    // The message carries the blob in hexadecimal.
    EXPECT_EQ(Failure(
                  [] {
                      Util::ReadBlob(Bytes{'U', 0x10, 'E'}, Factory);
                  })
                  .GetMessage(),
              u"POR: Unit object '551045' is corrupted at position '1'.");
}

TEST(BlobTest, NestingIsCapped)
{
    Bytes deep;
    for (std::size_t i = 0; i < Util::MaximumBlobDepth; ++i)
    {
        deep.insert(deep.end(), {'U', 'A'});
    }
    Bytes closing(Util::MaximumBlobDepth, 'E');
    EXPECT_NE(Util::ReadBlob(Concat({deep, closing}), Factory), nullptr);
    deep.insert(deep.end(), {'U', 'A'});
    closing.push_back('E');
    EXPECT_EQ(FailurePosition(Concat({deep, closing})), 2 * Util::MaximumBlobDepth);
}

TEST(BlobTest, ATruncatedBlobNeverReadsPastItsEnd)
{
    std::mt19937 random(7);
    const Bytes whole = Write(*RandomTree(random, 5));
    for (std::size_t cut = 1; cut < whole.size(); ++cut)
    {
        const Bytes prefix(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(cut));
        EXPECT_THROW(Util::ReadBlob(prefix, Factory), Common::Error) << cut;
    }
}

} // namespace
