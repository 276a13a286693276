#include "common/Language.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

namespace Common
{
namespace
{

struct ListCase
{
    std::vector<std::string> Names;
    LanguageList Expected;
};

TEST(BuildLanguageList, NormalisesAndAddsFallbacks)
{
    const ListCase cases[] = {
        ListCase{{"zh-HK"}, {"zh_TW", "zh"}}, ListCase{{"zh_MO"}, {"zh_TW", "zh"}},
        ListCase{{"zh_Hant_TW"}, {"zh_TW", "zh"}}, ListCase{{"zh_CN"}, {"zh"}}, ListCase{{"de-DE"}, {"de"}},
        ListCase{{"de_AT"}, {"de"}}, ListCase{{"es"}, {"es", "es_ES"}}, ListCase{{"es_ES"}, {"es", "es_ES"}},
        ListCase{{"es_MX"}, {"es_MX"}}, ListCase{{"pt_BR"}, {"pt_BR", "pt"}}, ListCase{{"pt_PT"}, {"pt"}},
        ListCase{{"en_UK"}, {"en_GB"}}, ListCase{{"en_GB"}, {"en_GB"}}, ListCase{{"en_US"}, {"en"}},
        // Fallbacks come right behind their name unless already listed; duplicates keep
        // their first place; names too short are dropped.
        ListCase{{"zh", "zh_TW"}, {"zh", "zh_TW"}}, ListCase{{"de", "fr_FR", "de_AT", "fr"}, {"de", "fr"}},
        ListCase{{"pt_BR", "es", "pt"}, {"pt_BR", "pt", "es", "es_ES"}}, ListCase{{"x", "fr"}, {"fr"}},
        // Nothing usable leaves the default language.
        ListCase{{}, {"en"}}, ListCase{{"", "x"}, {"en"}}};
    for (const ListCase& test : cases)
    {
        SCOPED_TRACE(::testing::PrintToString(test.Names));
        EXPECT_EQ(BuildLanguageList(test.Names), test.Expected);
    }
}

struct LocaleCase
{
    LocaleVariables Variables;
    LanguageList Expected;
};

TEST(LanguagesFromLocale, FirstSetVariableGivesTheList)
{
    const LocaleCase cases[] = {
        // LANGUAGE, LC_ALL, LC_MESSAGES, LANG
        LocaleCase{{"fr:de_DE:zh-HK", "es", "it", "pl"}, {"fr", "de", "zh_TW", "zh"}},
        LocaleCase{{"", "pt_BR.UTF-8", "it", "de"}, {"pt_BR", "pt"}},
        LocaleCase{{"", "", "de_DE.UTF-8@euro", "it"}, {"de"}},
        LocaleCase{{"", "", "", "sr_RS@latin"}, {"sr"}},
        // "C" and "POSIX", with or without an encoding, say nothing: the next variable decides.
        LocaleCase{{"C", "POSIX", "C.UTF-8", "it_IT.UTF-8"}, {"it"}},
        LocaleCase{{"::", "", "", "fr_FR"}, {"fr"}}, LocaleCase{{"de::C:fr", "", "", ""}, {"de", "fr"}},
        // LC_ALL is a single name, not a list.
        LocaleCase{{"", "fr:de", "", ""}, {"fr"}}, LocaleCase{{"", "", "", ""}, {"en"}},
        LocaleCase{{"", "C", "", "POSIX"}, {"en"}}};
    for (const LocaleCase& test : cases)
    {
        SCOPED_TRACE(test.Variables.Language + "|" + test.Variables.LcAll + "|" + test.Variables.LcMessages +
                     "|" + test.Variables.Lang);
        EXPECT_EQ(LanguagesFromLocale(test.Variables), test.Expected);
    }
}

// Records what the registry tells its subscribers.
std::vector<LanguageList> Notifications;
void RecordLanguages(const LanguageList& languages)
{
    Notifications.push_back(languages);
}

class LanguageRegistryTest : public ::testing::Test
{
protected:
    void SetUp() override { Notifications.clear(); }
    void TearDown() override
    {
        UnsubscribeLanguage(&RecordLanguages);
        SetLanguages(std::span<const std::string>(Saved));
    }

    LanguageList Saved = GetLanguages();
};

TEST_F(LanguageRegistryTest, SubscriberIsToldAtOnceAndOnEverySet)
{
    SetLanguages({"de_DE"});
    SubscribeLanguage(&RecordLanguages);
    SubscribeLanguage(&RecordLanguages); // a second subscription only calls it
    SetLanguages({"pt_BR", "x"});
    const std::vector<LanguageList> expected = {{"de"}, {"de"}, {"pt_BR", "pt"}};
    EXPECT_EQ(Notifications, expected);
    EXPECT_EQ(GetLanguages(), (LanguageList{"pt_BR", "pt"}));
}

TEST_F(LanguageRegistryTest, UnsubscribedSubscriberIsNotToldAnyMore)
{
    SubscribeLanguage(&RecordLanguages);
    UnsubscribeLanguage(&RecordLanguages);
    SetLanguages({"fr"});
    EXPECT_EQ(Notifications.size(), 1u);
}

TEST(Language, DefaultLanguageIsEnglish)
{
    EXPECT_STREQ(GetDefaultLanguage(), "en");
}

// A loader that finds only the files it is given, and records what it was asked for.
class LoadLocalizedTest : public ::testing::Test
{
protected:
    bool Load(const std::vector<std::string>& languages, std::size_t capacity = sizeof Language)
    {
        const LocalizedLoader loader = [this](const std::string& path)
        {
            Asked.push_back(path);
            return std::find(Existing.begin(), Existing.end(), path) != Existing.end();
        };
        return LoadLocalized(languages, loader, "help.txt", Language, capacity);
    }

    std::vector<std::string> Existing;
    std::vector<std::string> Asked;
    char Language[8] = "unset";
};

TEST_F(LoadLocalizedTest, FirstLanguageWithTheFileWins)
{
    Existing = {"fr/help.txt", "help.txt", "it/help.txt"};
    EXPECT_TRUE(Load({"de", "fr", "en", "it"}));
    EXPECT_EQ(Asked, (std::vector<std::string>{"de/help.txt", "fr/help.txt"}));
    EXPECT_STREQ(Language, "fr");
}

TEST_F(LoadLocalizedTest, EnglishMeansThePlainName)
{
    Existing = {"help.txt", "it/help.txt"};
    EXPECT_TRUE(Load({"de", "en", "it"}));
    EXPECT_EQ(Asked, (std::vector<std::string>{"de/help.txt", "help.txt"}));
    EXPECT_STREQ(Language, "en");
}

TEST_F(LoadLocalizedTest, NothingFoundFallsBackToThePlainNameInEnglish)
{
    Existing = {"help.txt"};
    EXPECT_TRUE(Load({"de", "pt_BR"}));
    EXPECT_EQ(Asked, (std::vector<std::string>{"de/help.txt", "pt_BR/help.txt", "help.txt"}));
    EXPECT_STREQ(Language, "en");

    Existing.clear();
    EXPECT_FALSE(Load({"de"}));
    EXPECT_STREQ(Language, "en");
}

TEST_F(LoadLocalizedTest, LanguageIsCutToTheCapacity)
{
    Existing = {"pt_BR/help.txt"};
    EXPECT_TRUE(Load({"pt_BR"}, 3));
    EXPECT_STREQ(Language, "pt");

    std::strcpy(Language, "unset");
    EXPECT_TRUE(Load({"pt_BR"}, 0));
    EXPECT_STREQ(Language, "unset");
}

} // namespace
} // namespace Common
