#include "common/TextCatalog.h"

#include "Platform/TextBundle.h"
#include "common/CatalogIds.h"
#include "common/FormatText.h"
#include "common/Language.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace Common
{
namespace
{

const auto* BuiltIn = static_cast<const unsigned char*>(GetBuiltInBundle());

std::uint32_t Word(const void* bundle, std::size_t offset)
{
    std::uint32_t word;
    std::memcpy(&word, static_cast<const unsigned char*>(bundle) + offset, sizeof word);
    return word;
}

// The first id's text lies at eight plus the word at eight; the catalog's texts are those in the block.
TEST(TextCatalog, BuiltInBundleCarriesItsSizeStampAndEntriesInOrder)
{
    EXPECT_EQ(Texts::ConvertToUtf8Failed.Id, 8u);
    EXPECT_EQ(static_cast<const void*>(GetText(Texts::ConvertToUtf8Failed)), BuiltIn + 8 + Word(BuiltIn, 8));
    const std::uint32_t size = Word(BuiltIn, 0);
    EXPECT_EQ(Word(BuiltIn, 4), CatalogStamp);
    EXPECT_EQ(size % 4, 0u);
    // Every entry points behind the entry table, into the block, in order; UTF-16 bodies are aligned.
    const std::size_t bodies = 8 + 4 * std::size_t{CatalogEntryCount};
    std::size_t previous = 0;
    for (std::uint32_t i = 0; i < CatalogEntryCount; ++i)
    {
        const std::size_t entry = 8 + 4 * i;
        const std::size_t text = entry + Word(BuiltIn, entry);
        EXPECT_GE(text, bodies) << "entry " << i;
        EXPECT_GT(text, previous) << "entry " << i;
        EXPECT_LT(text, size) << "entry " << i;
        previous = text;
    }
    EXPECT_EQ(BuiltIn[size - 1], 0);

    const std::string copy = "copy";
    EXPECT_TRUE(IsCatalogText(BuiltIn));
    EXPECT_TRUE(IsCatalogText(BuiltIn + size - 1));
    EXPECT_FALSE(IsCatalogText(BuiltIn + size));
    EXPECT_FALSE(IsCatalogText(BuiltIn - 1));
    EXPECT_FALSE(IsCatalogText(copy.c_str()));
}

TEST(TextCatalog, GeneratedIdsResolveToTheirTextsWhichFormatLikeAnyText)
{
    // Entries before and after the source list's gaps; narrow texts are single-byte.
    const std::pair<WideTextId, std::u16string_view> cases[] = {
        {Texts::ConvertToUtf8Failed,
         u"Internal error: Failed to convert the string from a wide string to UTF-8."},
        {Texts::ConvertFromUtf8Failed,
         u"Internal error: Failed to convert the string from UTF-8 to a wide string."},
        {Texts::InvalidGuid, u"The text '{0}' is not a valid GUID."},
        {Texts::InspectorSettingsChangeFailed,
         u"Changing of Alerts inspector settings failed (type: '{0}', object: '{1}', tenantID: '{2}')."},
        // Characters beyond ASCII and beyond the basic plane, and the source list's escapes.
        {Texts::TestWideText, u"wide text for tests: é € 😀 \"q\" \\ \n"},
    };
    for (const auto& [id, text] : cases)
    {
        EXPECT_EQ(std::u16string_view(GetText(id)), text);
        EXPECT_TRUE(IsCatalogText(GetText(id)));
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(GetText(id)) % 2, 0u);
    }
    EXPECT_STREQ(GetText(Texts::TestNarrowText), "narrow text for tests");
    EXPECT_EQ(FormatText(GetText(Texts::ComponentIdBadCast), u"7", u"Dml::PostOffice"),
              u"Invalid cast of component with ID '7' to interface 'Dml::PostOffice'.");
}

// A bundle of the catalog's shape whose every entry points at one UTF-16 text.
std::vector<std::uint32_t> MakeBundle(std::uint32_t stamp, std::u16string_view text)
{
    const std::size_t header = 2 + CatalogEntryCount;
    std::vector<std::uint32_t> words(header + (text.size() + 2) / 2, 0);
    for (std::size_t i = 0; i < CatalogEntryCount; ++i)
    {
        words[2 + i] = static_cast<std::uint32_t>(4 * (header - 2 - i));
    }
    std::memcpy(&words[header], text.data(), text.size() * sizeof(char16_t));
    words[0] = static_cast<std::uint32_t>(words.size() * 4);
    words[1] = stamp;
    return words;
}

// Replacement bundles come through the platform's text-bundle library; setting the languages makes the
// catalog ask it again.
class ReplacementBundleTest : public ::testing::Test
{
protected:
    void SetUp() override { GetText(Texts::InvalidGuid); }
    void TearDown() override
    {
        for (const char* language : {"xx", "yy"})
        {
            hsv_text_bundle_install(language, nullptr);
        }
        hsv_text_bundle_set_directory(nullptr);
        SetLanguages(std::span<const std::string>(Saved));
    }

    LanguageList Saved = GetLanguages();
};

TEST_F(ReplacementBundleTest, OnlyABundleWithTheCatalogStampIsUsedAndTheFirstLanguageWithOneWins)
{
    const auto foreign = MakeBundle(CatalogStamp - 1, u"other build");
    const auto bundle = MakeBundle(CatalogStamp, u"übersetzt");
    const char16_t* builtIn = GetText(Texts::InvalidGuid);
    hsv_text_bundle_install("yy", foreign.data());
    SetLanguages({"yy"});
    EXPECT_EQ(GetText(Texts::InvalidGuid), builtIn);
    EXPECT_TRUE(IsCatalogText(builtIn));

    hsv_text_bundle_install("xx", bundle.data());
    SetLanguages({"xx"});

    const char16_t* translated = GetText(Texts::InvalidGuid);
    EXPECT_EQ(std::u16string_view(translated), u"übersetzt");
    EXPECT_TRUE(IsCatalogText(translated));
    EXPECT_FALSE(IsCatalogText(builtIn));
    // Texts fetched before stay valid.
    EXPECT_EQ(std::u16string_view(builtIn), u"The text '{0}' is not a valid GUID.");

    SetLanguages({"de"});
    EXPECT_EQ(GetText(Texts::InvalidGuid), builtIn);

    const auto first = MakeBundle(CatalogStamp, u"first");
    hsv_text_bundle_install("yy", first.data());
    SetLanguages({"de", "yy", "xx"});
    EXPECT_EQ(std::u16string_view(GetText(Texts::InvalidGuid)), u"first");
}

TEST_F(ReplacementBundleTest, BundleFileIsReadOnceAndKept)
{
    const auto bundle = MakeBundle(CatalogStamp, u"from a file");
    const std::filesystem::path directory =
        std::filesystem::temp_directory_path() / ("veltrix-bundles-" + std::to_string(::getpid()));
    std::filesystem::create_directories(directory / "yy");
    std::ofstream(directory / "yy" / "texts.bundle", std::ios::binary)
        .write(reinterpret_cast<const char*>(bundle.data()), static_cast<std::streamsize>(bundle.size() * 4));
    hsv_text_bundle_set_directory(directory.c_str());

    SetLanguages({"yy"});
    const char16_t* text = GetText(Texts::InvalidGuid);
    EXPECT_EQ(std::u16string_view(text), u"from a file");

    std::filesystem::remove_all(directory);
    SetLanguages({"de"});
    SetLanguages({"yy"});
    EXPECT_EQ(GetText(Texts::InvalidGuid), text);
}

// Runs in a process of its own, where this is the catalog's first call; exits 0 when it holds.
[[noreturn]] void FirstCallKeepsErrno()
{
    const auto fail = [](const char* why)
    {
        std::fputs(why, stderr);
        std::_Exit(1);
    };
    if (IsCatalogText(GetBuiltInBundle()))
    {
        fail("the catalog was loaded before the first call");
    }
    // Loading looks for a bundle file that is missing, which sets errno.
    hsv_text_bundle_set_directory("/nonexistent/veltrix-bundles");
    SetLanguages({"de"});
    errno = EDOM;
    const char16_t* text = GetText(Texts::InvalidGuid);
    if (errno != EDOM)
    {
        fail("the first GetText changed errno");
    }
    if (std::u16string_view(text) != u"The text '{0}' is not a valid GUID.")
    {
        fail("the first GetText gave another text");
    }
    errno = 0;
    const char* language = "de";
    hsv_text_bundle_get_text(&language, 1);
    if (errno == 0)
    {
        fail("looking for a bundle left errno alone, so the check proves nothing");
    }
    std::_Exit(0);
}

TEST(TextCatalogDeathTest, FirstCallLeavesErrnoAsItWas)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // a fresh process, not a fork of a loaded one
    EXPECT_EXIT(FirstCallKeepsErrno(), ::testing::ExitedWithCode(0), "");
}

} // namespace
} // namespace Common
