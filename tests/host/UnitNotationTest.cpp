// The JSON notation of units: every kind and trait form back as an equal unit and the same text, the
// forms that reading accepts besides the printed one, schema objects built by class name, and the
// messages of faulty notation.
#include "scenario/UnitNotation.h"

#include "common/Utf8.h"
#include "history/Activity.h"
#include "history/Schema.h"
#include "por/Compare.h"
#include "por/PorUnit.h"
#include "por/TraitUtil.h"
#include "por/UnitAccess.h"
#include "scenario/JsonText.h"
#include "scenario/NotationErrors.h"

#include <gtest/gtest.h>

#include <limits>
#include <nlohmann/json.hpp>

namespace
{

using namespace std::string_view_literals;
namespace Codes = Host::Scenario::NotationErrorCodes;
using Host::Scenario::ParseJsonText;
using Host::Scenario::PrintUnit;
using Host::Scenario::ReadUnit;

std::string Narrow(const Common::WideString& text)
{
    std::string narrow;
    Common::WideToUtf8(narrow, text.data(), text.size());
    return narrow;
}

Por::UnitPtr Read(std::string_view text, const std::string& where = {})
{
    return ReadUnit(ParseJsonText(text, "test"), where);
}

// The error that reading gives.
Common::Error ReadError(std::string_view text, const std::string& where = {})
{
    try
    {
        Read(text, where);
    }
    catch (const Common::Error& error)
    {
        return error;
    }
    return Common::Success;
}

Por::Unit Text(const char16_t* text)
{
    return Por::Unit(text);
}

// A composite holding every kind at its limits, and traits in every form the notation has.
Por::Unit EveryKind()
{
    Por::Unit unit = Por::Unit::Composite();
    unit["nil"] = *Por::GetUnitFactory().CreateNil();
    unit["boolean"] = true;
    unit["byte"] = std::numeric_limits<std::uint8_t>::max();
    unit["sbyte"] = std::numeric_limits<std::int8_t>::min();
    unit["word"] = std::numeric_limits<std::uint16_t>::max();
    unit["sword"] = std::numeric_limits<std::int16_t>::min();
    unit["dword"] = std::numeric_limits<std::uint32_t>::max();
    unit["sdword"] = std::numeric_limits<std::int32_t>::min();
    unit["qword"] = std::numeric_limits<std::uint64_t>::max();
    unit["sqword"] = std::numeric_limits<std::int64_t>::min();
    unit["double"] = 0.1;
    unit["infinity"] = -std::numeric_limits<double>::infinity();
    unit["blob"] = Por::Blob{0x00, 0xAB, 0xFF};
    unit["empty blob"] = Por::Blob{};
    unit["guid"] = Common::Guid{0x8F01AC13, 0xF59E, 0x4851, {0x92, 0x04, 0xDE, 0x1F, 0xD7, 0x7E, 0x36, 0xB4}};
    unit["string"] = Common::WideString(u"é € 😀 \"q\" \\ \0 after a NUL"sv);
    unit["error"] =
        Common::Error(COMMON_LOCATION("EveryKind"), 0x00FA000D, u"POR: Property 'x' cannot be found.")
            .SetSubError(Common::Error(COMMON_LOCATION("EveryKind"), 0x011A0001, u"cause"));
    unit["success"] = Common::Error();
    unit["array"].PushBack(std::uint32_t{1});
    unit["array"].PushBack(Text(u"two").Get());
    unit["array"][2]["inner"] = false;
    unit["array"][3] = Por::Unit::Array().Get();
    unit["literal"]["$traits"] = u"a property, not traits";
    unit["$"]["x"] = true;

    unit.AddTrait("Is", Text(u"Test::B").Get());
    unit.AddTrait("Is", Text(u"Test::A").Get());
    unit.AddTrait("PrimaryKey");
    unit["dword"].AddTrait("Measure", Text(u"seconds").Get());
    unit["string"].AddTrait("Nil");
    unit["nil"].AddTrait("Source", Text(u"test").Get());
    unit["boolean"].AddTrait("Shape", Por::Unit::Array().PushBack(Text(u"x").Get()).Get());
    Por::Unit marked(std::uint8_t{1});
    marked.AddTrait("Deep", Text(u"trait of a trait").Get());
    unit["array"].AddTrait("Marked", marked.Get());
    return unit;
}

TEST(UnitNotationTest, EveryKindAndEveryTraitFormReadsBackEqualAndPrintsTheSameText)
{
    const Por::Unit unit = EveryKind();
    const std::string text = PrintUnit(unit.Get());
    const Por::UnitPtr back = Read(text);
    EXPECT_TRUE(Por::UnitEqual(*back, unit.Get())) << text;
    EXPECT_EQ(PrintUnit(*back), text);
    // The error's texts and its cause are part of the value.
    const auto error = Por::Util::GetValue<Common::Error>(Por::Util::GetPropertyValue(*back, "error"));
    EXPECT_EQ(Narrow(error.GetMessage()), "POR: Property 'x' cannot be found.");
    EXPECT_EQ(error.GetSubError().GetCode(), 0x011A0001u);
    EXPECT_EQ(Narrow(error.GetSubError().GetMessage()), "cause");
}

TEST(UnitNotationTest, PrintsKindsOnlyWhereJsonCannotTellThemAndTraitsFirst)
{
    Por::Unit unit = Por::Unit::Composite();
    unit["Name"] = u"x";
    unit["Count"] = std::uint32_t{5};
    unit["Count"].AddTrait("Measure", Text(u"seconds").Get());
    unit["Flags"].PushBack(true);
    unit["Flags"].PushBack(*Por::GetUnitFactory().CreateNil());
    unit["Id"] = Common::Guid{0x8F01AC13, 0xF59E, 0x4851, {0x92, 0x04, 0xDE, 0x1F, 0xD7, 0x7E, 0x36, 0xB4}};
    unit.AddTrait("PrimaryKey");
    unit.AddTrait("Is", Text(u"B").Get());
    unit.AddTrait("Is", Text(u"A").Get());
    EXPECT_EQ(
        PrintUnit(unit.Get()),
        R"({"$traits":{"Is":["A","B"],"PrimaryKey":null},"Count":{"$dword":5,"$traits":{"Measure":"seconds"}},)"
        R"("Flags":[true,null],"Id":{"$guid":"8F01AC13-F59E-4851-9204-DE1FD77E36B4"},"Name":"x"})");
}

TEST(UnitNotationTest, ReadsTheFormsThatPrintingNeverUses)
{
    const std::pair<const char*, const char*> cases[] = {
        {R"({"$byte": "0xFF"})", R"({"$byte":255})"},
        {R"({"$sdword": "-5"})", R"({"$sdword":-5})"},
        {R"({"$qword": "18446744073709551615"})", R"({"$qword":18446744073709551615})"},
        {R"({"$time": "1970-01-02T00:00:00Z"})", R"({"$sqword":86400})"},
        {R"({"$time": "2024-02-29T23:59:59Z"})", R"({"$sqword":1709251199})"},
        {R"({"$guid": "8f01ac13-f59e-4851-9204-de1fd77e36b4"})",
         R"({"$guid":"8F01AC13-F59E-4851-9204-DE1FD77E36B4"})"},
        {R"({"$blob": "00abFF"})", R"({"$blob":"00ABFF"})"},
        {R"({"$double": 1})", R"({"$double":1.0})"},
        {R"({"$double": "NaN"})", R"({"$double":"NaN"})"},
        {R"({"$string": "x"})", R"("x")"},
        {R"({"$nil": null})", R"(null)"},
        {R"({"$boolean": false})", R"(false)"},
        {R"({"$array": [], "$traits": {"T": "v"}})", R"({"$array":[],"$traits":{"T":"v"}})"},
        {R"({"$composite": {"Name": "x"}})", R"({"Name":"x"})"},
        {R"({"$error": {"code": 5}})", R"({"$error":{"code":"0x00000005"}})"},
        {R"({"$error": {"code": 0, "text": "ignored"}})", R"({"$error":null})"},
        {R"({"$traits": {"T": [["a"]], "U": {"$array": ["b"]}}})",
         R"({"$traits":{"T":[["a"]],"U":[["b"]]}})"},
    };
    for (const auto& [input, printed] : cases)
    {
        EXPECT_EQ(PrintUnit(*Read(input)), printed) << input;
    }
}

TEST(UnitNotationTest, AClassNameGivesTheSchemaDefaultWithTheGivenPropertiesLaidOver)
{
    const Por::UnitPtr unit = Read(R"({
        "$class": "Tol::History::Plain::Activity",
        "$traits": {"Type": "test"},
        "ID": "8F01AC13-F59E-4851-9204-DE1FD77E36B4",
        "State": 5,
        "Details": {"Specific": "Business"},
        "Period": {"FinishTime": {"$time": "2026-11-22T10:00:00Z"}},
        "Progress": {"$class": "Tol::History::Plain::CoreProgress", "Total": 10},
        "CompletionResult": {"$error": {"code": 18481213, "text": "failed"}}
    })");
    EXPECT_TRUE(Tol::History::Plain::IsInstanceOf(*unit, "Tol::History::Plain::Activity"));
    EXPECT_TRUE(Por::Util::HasTrait(*unit, "Type"));

    const Tol::History::Plain::Activity activity(unit);
    EXPECT_EQ(Common::GuidToString(activity.GetID()), "8F01AC13-F59E-4851-9204-DE1FD77E36B4");
    EXPECT_EQ(activity.GetState(), 5u);
    EXPECT_EQ(activity.GetPeriod().FinishTime, 1795341600);
    EXPECT_EQ(activity.GetCompletionResult().GetCode(), 18481213u);
    EXPECT_TRUE(Tol::History::Plain::IsInstanceOf(activity.GetProgress().Branch(), "Core::Progress"));

    // What was given is set and keeps the schema's traits (the key stays a key); the rest is the
    // default, still marked "Nil".
    const Por::View::Unit& id = Por::Util::GetPropertyValue(*unit, "ID");
    EXPECT_TRUE(Por::Util::HasTrait(id, "PrimaryKey"));
    EXPECT_FALSE(Por::Util::HasTrait(id, "Nil"));
    EXPECT_EQ(Por::GetValueTypeIndex(Por::Util::GetPropertyValue(*unit, "State")), Por::ValueKind::DWord);
    EXPECT_TRUE(activity.IsSet("Details"));
    EXPECT_FALSE(activity.IsSet("Name"));
    const Por::View::Unit& details = Por::Util::GetPropertyValue(*unit, "Details");
    EXPECT_TRUE(Tol::History::Plain::IsInstanceOf(details, "Tol::History::Plain::ActivityDetails"));
    EXPECT_FALSE(Por::Util::HasTrait(Por::Util::GetPropertyValue(details, "Specific"), "Nil"));
    EXPECT_TRUE(Por::Util::HasTrait(Por::Util::GetPropertyValue(details, "MessageID"), "Nil"));
}

// Every fault names the pointer of the value that has it.
struct Fault
{
    const char* Text;
    std::uint32_t Code;
    const char* Message;
};

TEST(UnitNotationTest, FaultsAreRefusedWithWhereAndWhatIsWrong)
{
    const Fault faults[] = {
        {R"({"a": {"$dwrod": 5}})", Codes::UnknownKind,
         "/step/a: unknown kind 'dwrod'; the kinds are nil, boolean, byte, sbyte, word, sword, dword, "
         "sdword, qword, "
         "sqword, double, blob, guid, string, error, array, composite and time."},
        {R"({"id": {"$guid": "12-34"}})", Codes::BadValue, R"(/step/id/$guid: "12-34" is not a valid guid.)"},
        {R"({"n": 5})", Codes::NumberWithoutKind,
         R"(/step/n: the number 5 has no kind; write it with one, as in {"$dword": 5}.)"},
        {R"([1.5])", Codes::NumberWithoutKind,
         R"(/step/0: the number 1.5 has no kind; write it with one, as in {"$dword": 1.5}.)"},
        {R"({"$class": "Tol::History::Plain::Activity", "Name": 5})", Codes::NumberWithoutKind,
         R"(/step/Name: the number 5 has no kind; write it with one, as in {"$dword": 5}.)"},
        {R"({"$class": "Tol::History::Plain::Activity", "State": -1})", Codes::BadValue,
         R"(/step/State: -1 is not a valid dword.)"},
        {R"({"$class": "Tol::History::Plain::Activity", "ID": "nope"})", Codes::BadValue,
         R"(/step/ID: "nope" is not a valid guid.)"},
        {R"({"$class": "No::Such"})", Codes::UnknownClass,
         "/step/$class: there is no schema class 'No::Such'."},
        {R"({"$dword": 5, "x": "y"})", Codes::UnexpectedField, "/step: the field 'x' does not belong here."},
        {R"({"$error": {"text": "t"}})", Codes::MissingField, "/step/$error: the field 'code' is missing."},
        {R"({"$error": {"code": 1, "texts": "t"}})", Codes::UnexpectedField,
         "/step/$error: the field 'texts' does not belong here."},
        {R"({"$byte": 256})", Codes::BadValue, "/step/$byte: 256 is not a valid byte."},
        {R"({"$sbyte": "0x80"})", Codes::BadValue, R"(/step/$sbyte: "0x80" is not a valid sbyte.)"},
        {R"({"$time": "2026-02-30T00:00:00Z"})", Codes::BadValue,
         R"(/step/$time: "2026-02-30T00:00:00Z" is not a valid time.)"},
        {R"({"$blob": "ABC"})", Codes::BadValue, R"(/step/$blob: "ABC" is not a valid blob.)"},
        {R"({"x": {"$traits": {"Is": []}}})", Codes::BadValue,
         "/step/x/$traits/Is: [] is not a valid list of trait values."},
        {R"({"a~/b": {"$nil": 0}})", Codes::BadValue, "/step/a~0~1b/$nil: 0 is not a valid nil."},
    };
    for (const Fault& fault : faults)
    {
        const Common::Error error = ReadError(fault.Text, "/step");
        EXPECT_EQ(error.GetCode(), fault.Code) << fault.Text;
        EXPECT_EQ(Narrow(error.GetMessage()), fault.Message);
    }
    // As deep as a blob may be, and no deeper.
    const auto nested = [](std::size_t depth) { return std::string(depth, '[') + std::string(depth, ']'); };
    EXPECT_EQ(ReadError(nested(512)).GetCode(), 0u);
    EXPECT_EQ(ReadError(nested(513)).GetCode(), Codes::TooDeep);
}

TEST(UnitNotationTest, JsonTextsNameTheLineOfASyntaxErrorAndThePointerOfADuplicateKey)
{
    EXPECT_EQ(ParseJsonText("// a story\n{\"a\": [1, /* two */ 2]}", "s.json")["a"][1], 2);

    Common::Error error;
    try
    {
        ParseJsonText("{\n  \"a\": 1,\n  \"b\": tru\n}", "s.json");
    }
    catch (const Common::Error& caught)
    {
        error = caught;
    }
    EXPECT_EQ(error.GetCode(), Codes::Syntax);
    EXPECT_EQ(
        Narrow(error.GetMessage()).rfind("s.json: the JSON text is malformed at line 3, column 11: ", 0), 0u)
        << Narrow(error.GetMessage());

    try
    {
        ParseJsonText("[1, 2e400]", "s.json");
        ADD_FAILURE();
    }
    catch (const Common::Error& caught)
    {
        EXPECT_EQ(caught.GetCode(), Codes::Syntax);
        EXPECT_EQ(Narrow(caught.GetMessage()),
                  "s.json: the JSON text is malformed: number overflow parsing '2e400'");
    }

    try
    {
        ParseJsonText(R"({"steps": [{"at": 1}, {"at": 1, "write": {"at": 2}, "at": 3}]})", "s.json");
        ADD_FAILURE();
    }
    catch (const Common::Error& caught)
    {
        EXPECT_EQ(caught.GetCode(), Codes::DuplicateKey);
        EXPECT_EQ(Narrow(caught.GetMessage()),
                  "s.json: the key 'at' appears twice in the object at '/steps/1'.");
    }
}

} // namespace
