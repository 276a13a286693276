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
    EXPECT_STREQ(GetDefaultLanguage(), "en");
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

TEST_F(LanguageRegistryTest, SubscriberIsToldAtOnceAndOnEverySetUntilUnsubscribed)
{
    SetLanguages({"de_DE"});
    SubscribeLanguage(&RecordLanguages);
    SubscribeLanguage(&RecordLanguages); // a second subscription only calls it
    SetLanguages({"pt_BR", "x"});
    EXPECT_EQ(GetLanguages(), (LanguageList{"pt_BR", "pt"}));
    UnsubscribeLanguage(&RecordLanguages);
    SetLanguages({"fr"});
    const std::vector<LanguageList> expected = {{"de"}, {"de"}, {"pt_BR", "pt"}};
    EXPECT_EQ(Notifications, expected);
}

// The loader finds only the files it is given; the first found names the language, else English with
// the plain name asked for once more. The language is cut to the capacity.
TEST(LoadLocalized, AsksInOrderUntilAFileIsFound)
{
    using Names = std::vector<std::string>;
    const struct
    {
        Names Existing;
        Names Languages;
        std::size_t Capacity;
        bool Found;
        Names Asked;
        const char* Language;
    } cases[] = {
        {{"fr/help.txt", "help.txt"}, {"de", "fr", "en"}, 8, true, {"de/help.txt", "fr/help.txt"}, "fr"},
        // English means the plain name.
        {{"help.txt", "it/help.txt"}, {"de", "en", "it"}, 8, true, {"de/help.txt", "help.txt"}, "en"},
        {{"help.txt"}, {"de", "pt_BR"}, 8, true, {"de/help.txt", "pt_BR/help.txt", "help.txt"}, "en"},
        {{}, {"de"}, 8, false, {"de/help.txt", "help.txt"}, "en"},
        {{"pt_BR/help.txt"}, {"pt_BR"}, 3, true, {"pt_BR/help.txt"}, "pt"},
        {{"pt_BR/help.txt"}, {"pt_BR"}, 0, true, {"pt_BR/help.txt"}, "unset"},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(::testing::PrintToString(c.Languages) + " " + std::to_string(c.Capacity));
        Names asked;
        const LocalizedLoader loader = [&](const std::string& path)
        {
            asked.push_back(path);
            return std::find(c.Existing.begin(), c.Existing.end(), path) != c.Existing.end();
        };
        char language[8] = "unset";
        EXPECT_EQ(LoadLocalized(c.Languages, loader, "help.txt", language, c.Capacity), c.Found);
        EXPECT_EQ(asked, c.Asked);
        EXPECT_STREQ(language, c.Language);
    }
}

} // namespace
} // namespace Common
