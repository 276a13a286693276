// Language selection: the process-wide ordered list of languages to try for translated texts, the
// subscribers told whenever the list is set, and the lookup of localized files along that list.
// The list is never empty; "en" stands for the texts built into the program.
#pragma once

#include <cstddef>
#include <functional>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Common
{

using LanguageList = std::vector<std::string>;

// Told the current list on subscription and each time the list is set. Subscribers are called one
// notification at a time and without the registry's data lock, so they may call back into it.
using LanguageSubscriber = void (*)(const LanguageList& languages);

// "en".
const char* GetDefaultLanguage();

// Adds `subscriber` (once; subscribing it again only calls it) and calls it at once with the current
// list. The list comes from the environment at the first use of the registry. Thread-safe.
void SubscribeLanguage(LanguageSubscriber subscriber);
// Removes `subscriber`; once this returns it is not called again. Thread-safe.
void UnsubscribeLanguage(LanguageSubscriber subscriber);

// The current list. Thread-safe.
LanguageList GetLanguages();
// Replaces the list by BuildLanguageList(names) and tells every subscriber. For hosts and tests.
void SetLanguages(std::span<const std::string> names);
void SetLanguages(std::initializer_list<std::string> names);
// Reads the environment again, as at start, and tells every subscriber.
void RefreshLanguages();

// The locale variables that choose the language on this platform; empty means unset.
struct LocaleVariables
{
    std::string Language;   // LANGUAGE: a ':'-separated list
    std::string LcAll;      // LC_ALL
    std::string LcMessages; // LC_MESSAGES
    std::string Lang;       // LANG
};

LocaleVariables ReadLocaleVariables();

// "de_DE" -> "de", "zh-HK" -> "zh_TW", "en_UK" -> "en_GB"; "" for a name shorter than two characters.
std::string NormaliseLanguageName(std::string_view name);
// Normalises `names` in order, puts each name's fallback right behind it ("zh_TW" -> "zh",
// "es" -> "es_ES", "pt_BR" -> "pt"), drops empty names and later duplicates; nothing left gives {"en"}.
LanguageList BuildLanguageList(std::span<const std::string> names);
// The list of the first variable set to something other than "C" or "POSIX", in the order LANGUAGE,
// LC_ALL, LC_MESSAGES, LANG; encodings (".UTF-8") and modifiers ("@euro") are stripped.
LanguageList LanguagesFromLocale(const LocaleVariables& variables);

// Asked for a file by relative path; true if it found (and loaded) it.
using LocalizedLoader = std::function<bool(const std::string& path)>;

// Asks `loader` for `name` in each language of `languages` in order: the plain name for "en", otherwise
// language + "/" + name. The first found wins and its language goes to `languageOut`; if none is
// found, "en" goes there and the plain name is asked for once more. `languageOut` receives at most
// `capacity` - 1 characters and a NUL (nothing if capacity is 0). Returns the answer of the last ask.
bool LoadLocalized(std::span<const std::string> languages, const LocalizedLoader& loader,
                   std::string_view name, char* languageOut, std::size_t capacity);
// The same along the registry's current list.
bool LoadLocalized(const LocalizedLoader& loader, std::string_view name, char* languageOut,
                   std::size_t capacity);

} // namespace Common
