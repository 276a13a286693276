#include "run/Scenario.h"

#include "common/CatalogIds.h"
#include "common/Error.h"
#include "common/FormatText.h"
#include "common/StringConversion.h"
#include "common/TextCatalog.h"
#include "por/UnitAccess.h"
#include "scenario/JsonText.h"
#include "scenario/UnitNotation.h"

#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>

namespace Host::Run
{
namespace
{

constexpr std::uint32_t ScenarioFault = 0x03000020;

// Where a value stands: "step 3, field "at"" or "field "settings"".
class Place
{
public:
    Place(const std::string& file, std::string where) : File(file), Where(std::move(where)) {}

    [[noreturn]] void Fail(const std::string& problem) const
    {
        const std::u16string text = Common::FormatText(
            Common::GetText(Common::Texts::HostScenarioFault),
            {Core::ConvertFromUtf8(File), Core::ConvertFromUtf8(Where), Core::ConvertFromUtf8(problem)});
        throw Common::Error(COMMON_LOCATION("Host::Run::ReadScenario"), ScenarioFault,
                            Common::WideStringView(text));
    }
    // A unit of the notation; its own faults keep their code and gain this place as context.
    Por::ConstUnitPtr Unit(const nlohmann::json& value, const std::string& pointer) const
    {
        try
        {
            return ::Host::Scenario::ReadUnit(value, pointer);
        }
        catch (const Common::Error& error)
        {
            const std::u16string message = error.GetMessage();
            Fail(Core::ConvertToUtf8(message));
        }
    }

    const std::string& File;
    std::string Where;
};

std::string StepPlace(std::size_t index, const char* field)
{
    return "step " + std::to_string(index) + ", field \"" + field + "\"";
}

const nlohmann::json& Field(const nlohmann::json& object, const char* name, const Place& place)
{
    const auto found = object.find(name);
    if (found == object.end())
    {
        place.Fail("\"" + std::string(name) + "\" is missing");
    }
    return *found;
}

std::uint64_t Milliseconds(const nlohmann::json& value, const Place& place)
{
    if (!value.is_number() || value.get<double>() < 0)
    {
        place.Fail("expected a number of seconds, not below 0");
    }
    return static_cast<std::uint64_t>(value.get<double>() * 1000.0 + 0.5);
}

std::string Text(const nlohmann::json& value, const Place& place)
{
    if (!value.is_string())
    {
        place.Fail("expected a text");
    }
    return value.get<std::string>();
}

Common::Guid GuidOf(const nlohmann::json& value, const Place& place)
{
    Common::Guid id;
    if (!value.is_string() || !Common::GuidFromString(value.get<std::string>().c_str(), id))
    {
        place.Fail("expected a GUID in its text form");
    }
    return id;
}

std::vector<AlertMatch> Matches(const nlohmann::json& value, const Place& place)
{
    if (!value.is_array())
    {
        place.Fail("expected an array of alerts");
    }
    std::vector<AlertMatch> matches;
    for (const nlohmann::json& entry : value)
    {
        if (!entry.is_object())
        {
            place.Fail("expected objects with \"type\" and optionally \"id\" and \"inspector\"");
        }
        AlertMatch match;
        match.Type = Text(Field(entry, "type", place), place);
        if (entry.contains("id"))
        {
            match.Id = GuidOf(entry["id"], place);
        }
        if (entry.contains("inspector"))
        {
            match.Inspector = Text(entry["inspector"], place);
        }
        for (const auto& [key, unused] : entry.items())
        {
            if (key != "type" && key != "id" && key != "inspector")
            {
                place.Fail("unknown field \"" + key + "\" in an alert");
            }
        }
        matches.push_back(std::move(match));
    }
    return matches;
}

constexpr std::pair<const char*, Action> Actions[] = {
    {"create", Action::Create},   {"store", Action::Store},     {"update", Action::Update},
    {"delete", Action::Delete},   {"batch", Action::Batch},     {"password", Action::Password},
    {"restart", Action::Restart}, {"advance", Action::Advance}, {"expect", Action::Expect},
};

// The one action of `object`; "at" is read by the caller.
Step ReadAction(const nlohmann::json& object, std::size_t index, const std::string& pointer,
                const std::string& file, bool inBatch)
{
    Step step;
    step.Index = index;
    const char* found = nullptr;
    for (const auto& [key, unused] : object.items())
    {
        if (key == "at" && !inBatch)
        {
            continue;
        }
        bool known = false;
        for (const auto& [name, action] : Actions)
        {
            if (key == name)
            {
                known = true;
                if (found != nullptr)
                {
                    Place(file, "step " + std::to_string(index))
                        .Fail("two actions, \"" + std::string(found) + "\" and \"" + key + "\"");
                }
                found = name;
                step.Kind = action;
            }
        }
        if (!known)
        {
            Place(file, StepPlace(index, key.c_str())).Fail("no such action");
        }
    }
    if (found == nullptr)
    {
        Place(file, "step " + std::to_string(index)).Fail("no action");
    }
    const Place place(file, StepPlace(index, found));
    const nlohmann::json& value = object[found];
    const std::string valuePointer = pointer + "/" + found;
    switch (step.Kind)
    {
    case Action::Create:
    case Action::Store:
    case Action::Update:
    case Action::Delete:
        step.Unit = place.Unit(value, valuePointer);
        break;
    case Action::Batch:
        if (inBatch || !value.is_array() || value.empty())
        {
            place.Fail("expected a non-empty array of create, store, update and delete actions");
        }
        for (std::size_t item = 0; item < value.size(); ++item)
        {
            if (!value[item].is_object())
            {
                place.Fail("expected an object with one action");
            }
            Step part = ReadAction(value[item], index, valuePointer + "/" + std::to_string(item), file, true);
            if (part.Kind != Action::Create && part.Kind != Action::Store && part.Kind != Action::Update &&
                part.Kind != Action::Delete)
            {
                place.Fail(std::string("a batch holds writes only, not \"") + ActionName(part.Kind) + "\"");
            }
            step.Batch.push_back(std::move(part));
        }
        break;
    case Action::Password:
        if (!value.is_object())
        {
            place.Fail("expected {\"scope\": ..., \"value\": ...}");
        }
        step.Scope = Text(Field(value, "scope", place), place);
        step.Password = Core::ConvertFromUtf8(Text(Field(value, "value", place), place));
        break;
    case Action::Restart:
        if (value.is_object() && value.size() == 1 && value.contains("offline") &&
            value["offline"].is_array())
        {
            // Writes made while the inspectors are down, as a store changes while its host is stopped.
            const nlohmann::json& offline = value["offline"];
            for (std::size_t item = 0; item < offline.size(); ++item)
            {
                Step part = offline[item].is_object()
                                ? ReadAction(offline[item], index,
                                             valuePointer + "/offline/" + std::to_string(item), file, true)
                                : Step{};
                if (!offline[item].is_object() ||
                    (part.Kind != Action::Create && part.Kind != Action::Store &&
                     part.Kind != Action::Update && part.Kind != Action::Delete))
                {
                    place.Fail("\"offline\" holds create, store, update and delete actions only");
                }
                step.Batch.push_back(std::move(part));
            }
        }
        else if (value != true)
        {
            place.Fail("expected true, or {\"offline\": [writes made while the inspectors are down]}");
        }
        break;
    case Action::Advance:
        step.Milliseconds = Milliseconds(value, place);
        break;
    case Action::Expect:
        if (!value.is_object())
        {
            place.Fail("expected an object with \"active\", \"inactive\" or \"count\"");
        }
        for (const auto& [key, entry] : value.items())
        {
            if (key == "active")
            {
                step.Expect.Active = Matches(entry, place);
            }
            else if (key == "inactive")
            {
                step.Expect.Inactive = Matches(entry, place);
            }
            else if (key == "count")
            {
                if (!entry.is_number_unsigned())
                {
                    place.Fail("\"count\" must be a whole number");
                }
                step.Expect.Count = entry.get<std::size_t>();
            }
            else
            {
                place.Fail("unknown field \"" + key + "\"");
            }
        }
        break;
    }
    return step;
}

} // namespace

const char* ActionName(Action action)
{
    for (const auto& [name, kind] : Actions)
    {
        if (kind == action)
        {
            return name;
        }
    }
    return "?";
}

Scenario ReadScenario(const std::string& path)
{
    Scenario scenario;
    scenario.File = path;
    std::ifstream file(path, std::ios::binary);
    if (!file)
    {
        Place(path, "the file").Fail("it cannot be read");
    }
    std::ostringstream content;
    content << file.rdbuf();
    const nlohmann::json document = ::Host::Scenario::ParseJsonText(content.str(), path);
    if (!document.is_object())
    {
        Place(path, "the document").Fail("expected a JSON object");
    }
    for (const auto& [key, value] : document.items())
    {
        const Place place(path, "field \"" + key + "\"");
        if (key == "seed")
        {
            if (!value.is_number_unsigned())
            {
                place.Fail("expected a whole number");
            }
            scenario.Seed = value.get<std::uint64_t>();
        }
        else if (key == "start")
        {
            if (!value.is_string())
            {
                place.Fail("expected a time such as \"2026-01-01T00:00:00Z\"");
            }
            // The notation's time: a sqword of seconds since 1970.
            const Por::ConstUnitPtr start = place.Unit(nlohmann::json{{"$time", value}}, "/start");
            scenario.StartSeconds = Por::Util::GetValue<std::int64_t>(*start);
        }
        else if (key == "settings")
        {
            scenario.Settings = place.Unit(value, "/settings");
        }
        else if (key == "machine")
        {
            scenario.Machine = GuidOf(value, place);
        }
        else if (key == "passwords")
        {
            if (!value.is_object())
            {
                place.Fail("expected an object of scope and password");
            }
            for (const auto& [scope, password] : value.items())
            {
                scenario.Passwords[scope] = Core::ConvertFromUtf8(Text(password, place));
            }
        }
        else if (key == "objects")
        {
            if (!value.is_array())
            {
                place.Fail("expected an array of units");
            }
            for (std::size_t index = 0; index < value.size(); ++index)
            {
                scenario.Objects.push_back(place.Unit(value[index], "/objects/" + std::to_string(index)));
            }
        }
        else if (key == "steps")
        {
            if (!value.is_array())
            {
                place.Fail("expected an array of steps");
            }
            std::uint64_t last = 0;
            for (std::size_t index = 0; index < value.size(); ++index)
            {
                const nlohmann::json& entry = value[index];
                if (!entry.is_object())
                {
                    Place(path, "step " + std::to_string(index)).Fail("expected an object");
                }
                const Place at(path, StepPlace(index, "at"));
                const std::uint64_t time = Milliseconds(Field(entry, "at", at), at);
                if (time < last)
                {
                    at.Fail("the step comes before the one ahead of it (time goes forward only)");
                }
                last = time;
                Step step = ReadAction(entry, index, "/steps/" + std::to_string(index), path, false);
                step.AtMilliseconds = time;
                scenario.Steps.push_back(std::move(step));
            }
        }
        else
        {
            place.Fail("no such field");
        }
    }
    if (scenario.Settings == nullptr)
    {
        scenario.Settings = ::Host::Scenario::ReadUnit(nlohmann::json::object());
    }
    return scenario;
}

} // namespace Host::Run
