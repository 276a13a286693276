#include "JsonText.h"

#include "NotationErrors.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <set>
#include <vector>

namespace Host::Scenario
{
namespace
{

// The containers open at the parser's position, so a duplicate key can be named by its pointer.
class KeyChecker
{
public:
    explicit KeyChecker(std::string_view source) : Source(source) {}

    bool operator()(int, nlohmann::json::parse_event_t event, nlohmann::json& parsed)
    {
        using Event = nlohmann::json::parse_event_t;
        switch (event)
        {
        case Event::object_start:
        case Event::array_start:
        {
            Container opened;
            opened.Where = Pointer() + PositionInParent();
            opened.IsArray = event == Event::array_start;
            Open.push_back(std::move(opened));
            break;
        }
        case Event::object_end:
        case Event::array_end:
            Open.pop_back();
            if (!Open.empty() && Open.back().IsArray)
            {
                ++Open.back().Index;
            }
            break;
        case Event::key:
            Key(parsed.get<std::string>());
            break;
        case Event::value:
            if (!Open.empty() && Open.back().IsArray)
            {
                ++Open.back().Index;
            }
            break;
        }
        return true;
    }

private:
    struct Container
    {
        std::string Where; // the pointer of the container itself
        bool IsArray = false;
        std::size_t Index = 0;
        std::string CurrentKey;
        std::set<std::string> Keys;
    };

    std::string Pointer() const { return Open.empty() ? std::string() : Open.back().Where; }
    std::string PositionInParent() const
    {
        if (Open.empty())
        {
            return {};
        }
        const Container& parent = Open.back();
        return "/" + (parent.IsArray ? std::to_string(parent.Index) : EscapePointerKey(parent.CurrentKey));
    }
    void Key(std::string key)
    {
        Container& object = Open.back();
        if (!object.Keys.insert(key).second)
        {
            throw NotationErrors::Make(COMMON_LOCATION("Host::Scenario::ParseJsonText"),
                                       NotationErrorCodes::DuplicateKey,
                                       {Source, key, object.Where.empty() ? "/" : object.Where});
        }
        object.CurrentKey = std::move(key);
    }

    const std::string_view Source;
    std::vector<Container> Open;
};

// The problem of a parse error without nlohmann's prefix and position, which the message gives itself.
std::string_view Problem(std::string_view what)
{
    const std::size_t column = what.find("column ");
    const std::size_t colon = what.find(": ", column == std::string_view::npos ? 0 : column);
    return colon == std::string_view::npos ? what : what.substr(colon + 2);
}

} // namespace

std::string EscapePointerKey(std::string_view key)
{
    std::string escaped;
    for (const char c : key)
    {
        escaped += c == '~' ? "~0" : c == '/' ? "~1" : std::string(1, c);
    }
    return escaped;
}

nlohmann::json ParseJsonText(std::string_view text, std::string_view source)
{
    try
    {
        return nlohmann::json::parse(text, KeyChecker(source), true, true);
    }
    catch (const nlohmann::json::parse_error& error)
    {
        // `byte` is the offending character's place, counted from 1.
        const std::size_t end = std::min<std::size_t>(error.byte == 0 ? 0 : error.byte - 1, text.size());
        const std::string_view before = text.substr(0, end);
        const std::size_t line = static_cast<std::size_t>(std::count(before.begin(), before.end(), '\n')) + 1;
        const std::size_t lineStart = before.rfind('\n');
        const std::size_t column = end - (lineStart == std::string_view::npos ? 0 : lineStart + 1) + 1;
        throw NotationErrors::Make(
            COMMON_LOCATION("Host::Scenario::ParseJsonText"), NotationErrorCodes::Syntax,
            {source, std::to_string(line), std::to_string(column), Problem(error.what())});
    }
    catch (const nlohmann::json::exception& error)
    {
        // A number beyond a double's range: the problem names the number, the parser keeps no position.
        const std::string_view what = error.what();
        const std::size_t end = what.find("] ");
        throw NotationErrors::Make(COMMON_LOCATION("Host::Scenario::ParseJsonText"),
                                   NotationErrorCodes::Syntax,
                                   {source, end == std::string_view::npos ? what : what.substr(end + 2)});
    }
}

} // namespace Host::Scenario
