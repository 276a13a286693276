#include "common/Language.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <mutex>

namespace Common
{

namespace
{

struct NameRule
{
    std::string_view Prefix;
    std::string_view Name;
};

// Names kept with their country; every other name is cut to its language.
constexpr NameRule NameRules[] = {
    {"zh_TW", "zh_TW"}, {"zh_HK", "zh_TW"}, {"zh_MO", "zh_TW"}, {"zh_Hant", "zh_TW"},
    {"en_UK", "en_GB"}, {"es_MX", "es_MX"}, {"pt_BR", "pt_BR"}, {"en_GB", "en_GB"},
};

constexpr NameRule Fallbacks[] = {{"zh_TW", "zh"}, {"es", "es_ES"}, {"pt_BR", "pt"}};

void AddOnce(LanguageList& list, std::string_view name)
{
    if (!name.empty() && std::find(list.begin(), list.end(), name) == list.end())
    {
        list.emplace_back(name);
    }
}

// Splits a locale variable into language names: "de_DE.UTF-8@euro" -> "de_DE"; "C" and "POSIX" say
// nothing about the language and are dropped.
std::vector<std::string> LocaleNames(std::string_view value, bool isList)
{
    std::vector<std::string> names;
    while (!value.empty())
    {
        const std::size_t end = isList ? std::min(value.find(':'), value.size()) : value.size();
        std::string_view item = value.substr(0, end);
        item = item.substr(0, std::min(item.find_first_of(".@"), item.size()));
        if (!item.empty() && item != "C" && item != "POSIX")
        {
            names.emplace_back(item);
        }
        value.remove_prefix(std::min(end + 1, value.size()));
    }
    return names;
}

std::string GetEnvironment(const char* name)
{
    const char* value = std::getenv(name);
    return value != nullptr ? value : "";
}

// The process-wide language state, built from the environment at first use and never destroyed, so
// texts may be fetched during static destruction too.
class LanguageRegistry
{
public:
    static LanguageRegistry& Instance()
    {
        static LanguageRegistry* registry = new LanguageRegistry;
        return *registry;
    }

    void Subscribe(LanguageSubscriber subscriber)
    {
        std::lock_guard notifying(NotifyMutex);
        LanguageList languages;
        {
            std::lock_guard lock(Mutex);
            if (std::find(Subscribers.begin(), Subscribers.end(), subscriber) == Subscribers.end())
            {
                Subscribers.push_back(subscriber);
            }
            languages = Languages;
        }
        subscriber(languages);
    }

    void Unsubscribe(LanguageSubscriber subscriber)
    {
        std::lock_guard notifying(NotifyMutex);
        std::lock_guard lock(Mutex);
        std::erase(Subscribers, subscriber);
    }

    LanguageList Get()
    {
        std::lock_guard lock(Mutex);
        return Languages;
    }

    // Holding NotifyMutex across the calls keeps notifications in the order the lists were set; it is
    // recursive so that a subscriber may subscribe (a first GetText inside one does).
    void Set(LanguageList languages)
    {
        std::lock_guard notifying(NotifyMutex);
        std::vector<LanguageSubscriber> subscribers;
        {
            std::lock_guard lock(Mutex);
            Languages = std::move(languages);
            languages = Languages;
            subscribers = Subscribers;
        }
        for (const LanguageSubscriber subscriber : subscribers)
        {
            subscriber(languages);
        }
    }

private:
    LanguageRegistry() : Languages(LanguagesFromLocale(ReadLocaleVariables())) {}

    std::recursive_mutex NotifyMutex;
    std::mutex Mutex; // guards Languages and Subscribers
    LanguageList Languages;
    std::vector<LanguageSubscriber> Subscribers;
};

} // namespace

const char* GetDefaultLanguage()
{
    return "en";
}

void SubscribeLanguage(LanguageSubscriber subscriber)
{
    LanguageRegistry::Instance().Subscribe(subscriber);
}

void UnsubscribeLanguage(LanguageSubscriber subscriber)
{
    LanguageRegistry::Instance().Unsubscribe(subscriber);
}

LanguageList GetLanguages()
{
    return LanguageRegistry::Instance().Get();
}

void SetLanguages(std::span<const std::string> names)
{
    LanguageRegistry::Instance().Set(BuildLanguageList(names));
}

void SetLanguages(std::initializer_list<std::string> names)
{
    SetLanguages(std::span<const std::string>(names.begin(), names.size()));
}

void RefreshLanguages()
{
    LanguageRegistry::Instance().Set(LanguagesFromLocale(ReadLocaleVariables()));
}

LocaleVariables ReadLocaleVariables()
{
    return {GetEnvironment("LANGUAGE"), GetEnvironment("LC_ALL"), GetEnvironment("LC_MESSAGES"),
            GetEnvironment("LANG")};
}

std::string NormaliseLanguageName(std::string_view name)
{
    if (name.size() < 2)
    {
        return {};
    }
    std::string normal(name);
    std::replace(normal.begin(), normal.end(), '-', '_');
    for (const NameRule& rule : NameRules)
    {
        if (normal.starts_with(rule.Prefix))
        {
            return std::string(rule.Name);
        }
    }
    return normal.substr(0, 2);
}

LanguageList BuildLanguageList(std::span<const std::string> names)
{
    LanguageList list;
    for (const std::string& name : names)
    {
        const std::string normal = NormaliseLanguageName(name);
        AddOnce(list, normal);
        for (const NameRule& fallback : Fallbacks)
        {
            if (normal == fallback.Prefix)
            {
                AddOnce(list, fallback.Name);
            }
        }
    }
    if (list.empty())
    {
        list.emplace_back(GetDefaultLanguage());
    }
    return list;
}

LanguageList LanguagesFromLocale(const LocaleVariables& variables)
{
    const std::pair<const std::string*, bool> sources[] = {{&variables.Language, true},
                                                           {&variables.LcAll, false},
                                                           {&variables.LcMessages, false},
                                                           {&variables.Lang, false}};
    for (const auto& [value, isList] : sources)
    {
        const std::vector<std::string> names = LocaleNames(*value, isList);
        if (!names.empty())
        {
            return BuildLanguageList(names);
        }
    }
    return BuildLanguageList({});
}

bool LoadLocalized(std::span<const std::string> languages, const LocalizedLoader& loader,
                   std::string_view name, char* languageOut, std::size_t capacity)
{
    const std::string plain(name);
    std::string_view found = GetDefaultLanguage();
    bool loaded = false;
    for (const std::string& language : languages)
    {
        if (loader(language == GetDefaultLanguage() ? plain : language + "/" + plain))
        {
            found = language;
            loaded = true;
            break;
        }
    }
    if (!loaded)
    {
        loaded = loader(plain);
    }
    if (capacity > 0)
    {
        const std::size_t length = std::min(found.size(), capacity - 1);
        std::memcpy(languageOut, found.data(), length);
        languageOut[length] = '\0';
    }
    return loaded;
}

bool LoadLocalized(const LocalizedLoader& loader, std::string_view name, char* languageOut,
                   std::size_t capacity)
{
    return LoadLocalized(GetLanguages(), loader, name, languageOut, capacity);
}

} // namespace Common
