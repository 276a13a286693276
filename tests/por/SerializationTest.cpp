#include "TestUnits.h"
#include "por/Compare.h"
#include "por/PORDeserializer.h"
#include "por/PORSerializer.h"
#include "por/TraitUtil.h"
#include "por/UnitBuilder.h"
#include "por/UnitPrinter.h"
#include "por/serialize/MapElementFinder.h"
#include "por/serialize/Serialize.h"

#include <gtest/gtest.h>

#include <functional>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace
{

using namespace Por;
using Por::Serialization::PORDeserializer;
using Por::Serialization::PORSerializer;
namespace Contract = ::Serialization;
using namespace Por::Testing;

struct Point
{
    std::int32_t X = 0;
    std::int32_t Y = 0;

    void Serialize(Contract::Serializer& serializer) const
    {
        Contract::Write(serializer, u"X", X);
        Contract::Write(serializer, u"Y", Y);
    }
    void Deserialize(Contract::Deserializer& deserializer)
    {
        Contract::Read(deserializer, u"X", X);
        Contract::Read(deserializer, u"Y", Y);
    }
    friend bool operator==(const Point&, const Point&) = default;
};

class Shape : public Contract::CategoryHolder
{
public:
    virtual void Serialize(Contract::Serializer& serializer) const = 0;
    virtual void Deserialize(Contract::Deserializer& deserializer) = 0;
};

class Circle final : public Shape
{
public:
    std::string_view GetCategory() const override { return "Test::Circle"; }
    void Serialize(Contract::Serializer& serializer) const override
    {
        Contract::Write(serializer, u"Radius", Radius);
    }
    void Deserialize(Contract::Deserializer& deserializer) override
    {
        Contract::Read(deserializer, u"Radius", Radius);
    }
    double Radius = 0;
};

// Writable, but no class is registered under its category.
class Square final : public Shape
{
public:
    std::string_view GetCategory() const override { return "Test::Square"; }
    void Serialize(Contract::Serializer&) const override {}
    void Deserialize(Contract::Deserializer&) override {}
};

const Contract::CategoryRegistration<Circle> CircleRegistration("Test::Circle");

struct Everything
{
    bool Flag = false;
    std::uint8_t Byte = 0;
    std::int16_t Short = 0;
    std::uint64_t Big = 0;
    double Ratio = 0;
    Blob Data;
    Common::Guid Id{};
    Common::WideString Text;
    Common::Error Failure;
    std::vector<Point> Points;
    std::list<Common::WideString> Names;
    std::set<std::int64_t> Numbers;
    std::map<Common::WideString, Point> ByName;
    std::multimap<std::int32_t, bool> Flags;
    std::optional<Point> Maybe;
    std::shared_ptr<Point> Shared;
    std::shared_ptr<Point> SharedAgain;
    std::shared_ptr<Point> Null;
    Point* Raw = nullptr;
    std::shared_ptr<Shape> Figure;

    // Every member with its name, for writing and reading alike.
    template <typename Self, typename Each>
    static void Members(Self& self, Each each)
    {
        // clang-format off
        each(u"Flag", self.Flag); each(u"Byte", self.Byte); each(u"Short", self.Short);
        each(u"Big", self.Big); each(u"Ratio", self.Ratio); each(u"Data", self.Data); each(u"Id", self.Id);
        each(u"Text", self.Text); each(u"Failure", self.Failure); each(u"Points", self.Points);
        each(u"Names", self.Names); each(u"Numbers", self.Numbers); each(u"ByName", self.ByName);
        each(u"Flags", self.Flags); each(u"Maybe", self.Maybe); each(u"Shared", self.Shared);
        each(u"SharedAgain", self.SharedAgain); each(u"Null", self.Null); each(u"Raw", self.Raw);
        each(u"Figure", self.Figure);
        // clang-format on
    }
    void Serialize(Contract::Serializer& serializer) const
    {
        Members(*this,
                [&](const char16_t* name, const auto& member) { Contract::Write(serializer, name, member); });
    }
    void Deserialize(Contract::Deserializer& deserializer)
    {
        Members(*this,
                [&](const char16_t* name, auto& member) { Contract::Read(deserializer, name, member); });
    }
};

template <typename T>
UnitPtr WriteRoot(const T& value)
{
    PORSerializer writer;
    Contract::Write(writer, Contract::Names::Root, value);
    return writer.Result();
}

template <typename T>
T ReadRoot(const UnitPtr& unit, T value = T{})
{
    PORDeserializer reader(unit);
    Contract::Read(reader, Contract::Names::Root, value);
    EXPECT_EQ(reader.Depth(), 0u);
    return value;
}

String TraitText(const View::Unit& unit, std::string_view name)
{
    return Util::GetValue<String>(Util::GetUniqueTraitByName(unit, name));
}

TEST(SerializationTest, EveryKindOfMemberSurvivesARoundTrip)
{
    Everything written;
    written.Flag = true;
    written.Byte = 7;
    written.Short = -3;
    written.Big = 1ull << 40;
    written.Ratio = 0.25;
    written.Data = {1, 2, 3};
    written.Id.Data1 = 0x1234;
    written.Text = u"text";
    written.Failure =
        Common::Error(COMMON_LOCATION("SerializationTest"), 0xfa0001, std::string_view("inner"));
    written.Points = {{1, 2}, {3, 4}};
    written.Names = {u"b", u"a"};
    written.Numbers = {5, -5};
    written.ByName = {{u"one", {1, 1}}, {u"two", {2, 2}}};
    written.Flags = {{1, true}, {1, false}};
    written.Maybe = Point{9, 9};
    written.Shared = std::make_shared<Point>(Point{5, 6});
    written.SharedAgain = written.Shared;
    Point raw{7, 8};
    written.Raw = &raw;
    auto circle = std::make_shared<Circle>();
    circle->Radius = 1.5;
    written.Figure = circle;

    const UnitPtr unit = WriteRoot(written);
    const Everything read = ReadRoot<Everything>(unit);
    const std::unique_ptr<Point> ownedRaw(read.Raw);

    EXPECT_TRUE(read.Flag);
    EXPECT_EQ(read.Byte, 7);
    EXPECT_EQ(read.Short, -3);
    EXPECT_EQ(read.Big, 1ull << 40);
    EXPECT_EQ(read.Ratio, 0.25);
    EXPECT_EQ(read.Data, written.Data);
    EXPECT_EQ(read.Id, written.Id);
    EXPECT_EQ(read.Text, u"text");
    EXPECT_EQ(read.Failure.GetMessage(), u"inner");
    EXPECT_EQ(read.Points, written.Points);
    EXPECT_EQ(read.Names, written.Names);
    EXPECT_EQ(read.Numbers, written.Numbers);
    EXPECT_EQ(read.ByName, written.ByName);
    EXPECT_EQ(read.Flags, written.Flags);
    EXPECT_EQ(read.Maybe, written.Maybe);
    ASSERT_NE(read.Shared, nullptr);
    EXPECT_EQ(*read.Shared, (Point{5, 6}));
    EXPECT_EQ(read.SharedAgain, read.Shared); // one object written twice is one object again
    EXPECT_EQ(read.Null, nullptr);
    ASSERT_NE(read.Raw, nullptr);
    EXPECT_EQ(*read.Raw, raw);
    const auto* figure = dynamic_cast<const Circle*>(read.Figure.get());
    ASSERT_NE(figure, nullptr);
    EXPECT_EQ(figure->Radius, 1.5);
}

TEST(SerializationTest, ContainersAndPointersCarryTheirKindAndMark)
{
    Everything written;
    written.ByName = {{u"one", {1, 1}}, {u"two", {2, 2}}};
    written.Shared = std::make_shared<Point>();
    written.SharedAgain = written.Shared;
    Point raw;
    written.Raw = &raw;
    const UnitPtr unit = WriteRoot(written);

    const std::pair<const char*, const char16_t*> kinds[] = {{"Points", u"vector"},
                                                             {"Names", u"list"},
                                                             {"Numbers", u"set"},
                                                             {"ByName", u"map"},
                                                             {"Flags", u"multimap"}};
    for (const auto& [property, kind] : kinds)
    {
        const View::Unit& container = Util::GetPropertyValue(*unit, property);
        EXPECT_TRUE(Util::IsArray(container)) << property;
        EXPECT_EQ(TraitText(container, "IsContainer"), kind) << property;
    }

    const Por::Serialization::MapElementFinder finder(Util::GetPropertyValue(*unit, "ByName"));
    const View::Unit* two = finder.Find(String(u"two"));
    ASSERT_NE(two, nullptr);
    EXPECT_EQ(Util::GetPropertyValue<std::int32_t>(*two, "X"), 2);
    EXPECT_EQ(finder.Find(String(u"three")), nullptr);

    const auto mark = [&](const char* property)
    {
        return Util::GetValue<std::uint64_t>(
            Util::GetUniqueTraitByName(Util::GetPropertyValue(*unit, property), "ptr_mark"));
    };
    EXPECT_EQ(TraitText(Util::GetPropertyValue(*unit, "Shared"), "IsReference"), u"shared_ptr");
    EXPECT_EQ(TraitText(Util::GetPropertyValue(*unit, "Raw"), "IsReference"), u"raw_ptr");
    EXPECT_NE(mark("Shared"), 0u);
    EXPECT_EQ(mark("SharedAgain"), mark("Shared"));
    EXPECT_NE(mark("Raw"), mark("Shared"));

    const View::Unit& null = Util::GetPropertyValue(*unit, "Null");
    EXPECT_TRUE(Util::IsNil(null));
    EXPECT_TRUE(Util::HasTrait(null, "IsEmpty"));
    EXPECT_EQ(mark("Null"), 0u);

    // A pointer to an empty optional is not a null pointer.
    const auto pointer = std::make_shared<std::optional<std::int32_t>>();
    const auto read = ReadRoot<std::shared_ptr<std::optional<std::int32_t>>>(WriteRoot(pointer));
    ASSERT_NE(read, nullptr);
    EXPECT_FALSE(read->has_value());
}

TEST(SerializationTest, OptionalOfOptionalKeepsBothLevels)
{
    using Nested = std::optional<std::optional<std::int32_t>>;
    for (const Nested& value : {Nested(5), Nested(std::optional<std::int32_t>()), Nested()})
    {
        EXPECT_EQ(ReadRoot<Nested>(WriteRoot(value), Nested(7)), value);
    }

    // The inner optional stays a unit of its own, under the wrapper's "value".
    const UnitPtr outer = WriteRoot(Nested(5));
    EXPECT_TRUE(Util::HasTrait(*outer, "IsRecursive"));
    EXPECT_EQ(TraitText(*outer, "IsOptional"), u"optional");
    EXPECT_TRUE(Util::GetValue<bool>(Util::GetUniqueTraitByName(*outer, "is_init")));
    const View::Unit& inner = Util::GetPropertyValue(*outer, "value");
    EXPECT_EQ(Util::GetValue<std::int32_t>(inner), 5);
    EXPECT_TRUE(Util::HasTrait(inner, "IsOptional"));

    const UnitPtr absent = WriteRoot(Nested());
    EXPECT_TRUE(Util::IsNil(*absent));
    EXPECT_TRUE(Util::HasTrait(*absent, "IsEmpty"));
    EXPECT_FALSE(Util::GetValue<bool>(Util::GetUniqueTraitByName(*absent, "is_init")));
}

TEST(SerializationTest, PolymorphicValueIsItsClassMarkedWithTheCategory)
{
    auto circle = std::make_shared<Circle>();
    circle->Radius = 2;
    const UnitPtr unit = WriteRoot(std::shared_ptr<Shape>(circle));
    EXPECT_TRUE(Util::IsComposite(*unit));
    EXPECT_EQ(TraitText(*unit, "IsPolymorph"), u"Test::Circle");
    EXPECT_EQ(Util::GetPropertyValue<double>(*unit, "Radius"), 2.0);

    const UnitPtr square = WriteRoot(std::shared_ptr<Shape>(std::make_shared<Square>()));
    const Common::Error error = Failure([&] { ReadRoot<std::shared_ptr<Shape>>(square); });
    EXPECT_EQ(error.GetCode(), 0xfa0018u);
    EXPECT_NE(error.GetMessage().find(u"Test::Square"), String::npos);
}

TEST(SerializationTest, VersionTraitWinsOverTheReadersVersion)
{
    PORSerializer writer;
    writer.BeginClass(Contract::Names::Root);
    writer.WriteVersion(3);
    writer.BeginClass(u"Old");
    writer.End();
    writer.End();
    const UnitPtr unit = writer.Result();

    PORDeserializer reader(unit, &GetUnitFactory(), 1);
    EXPECT_EQ(reader.GetSubjectVersion(), 1u); // nothing open yet
    reader.BeginClass(Contract::Names::Root);
    EXPECT_EQ(reader.GetSubjectVersion(), 3u);
    reader.BeginClass(u"Old");
    EXPECT_EQ(reader.GetSubjectVersion(), 1u);
}

TEST(SerializationTest, ReadFailuresNameThePathAndLeaveTheBracketsOpenAsBefore)
{
    // clang-format off
    const UnitPtr unit = Util::Build().Composite().Property("Scalar", 5u)
        .Property("Owner").Composite().Property("Name", u"x").End()
        .Property("Items").Array().Element(1u).End()
        .Done();
    // clang-format on
    using Step = std::function<void(PORDeserializer&)>;
    const Step nothing = [](PORDeserializer&) {};
    const auto open = [](const char16_t* name)
    { return [name](PORDeserializer& reader) { reader.BeginClass(name); }; };
    const auto readDWord = [](const char16_t* name)
    {
        return [name](PORDeserializer& reader)
        {
            std::uint32_t value = 0;
            reader.Read(name, value);
        };
    };
    struct Case
    {
        Step Before;
        Step Failing;
        std::uint32_t Code;
        const char16_t* Message;
    };
    const Case cases[] = {
        {open(u"Scalar"), readDWord(u"Inner"), 0xfa001a,
         u"POR: An error occurred while deserializing the composite value. Object '.Scalar' is not of type "
         u"'Composite'."},
        {nothing, open(u"Missing"), 0xfa001a,
         u"POR: An error occurred while deserializing property '.Missing'. Object 'Root' does not have such "
         u"property."},
        {nothing, [](PORDeserializer& reader) { reader.BeginContainer(u"Owner", Contract::Names::Vector); },
         0xfa001a,
         u"POR: An error occurred while deserializing the container value. Object '.Owner' is not of type "
         u"'Container'."},
        {[](PORDeserializer& reader) { reader.BeginContainer(u"Items", Contract::Names::Vector); },
         readDWord(Contract::Names::Item.data()), 0xfa001a, // before any Next
         u"POR: An error occurred while deserializing the container element. No data found at '.Items[0]'."},
        {nothing, [](PORDeserializer& reader) { reader.BeginOptional(u"Owner", Contract::Names::Optional); },
         0xfa001a,
         u"POR: An error occurred while deserializing the optional value. Object '.Owner' is not of type "
         u"'Optional'."},
        {nothing, [](PORDeserializer& reader) { reader.BeginPointer(u"Owner", Contract::Names::SharedPtr); },
         0xfa001a,
         u"POR: An error occurred while deserializing the pointer value. Object '.Owner' is not of type "
         u"'Pointer'."},
        {open(u"Owner"), [](PORDeserializer& reader) { reader.ReadTrait(u"Missing"); }, 0xfa001a,
         u"POR: An error occurred while deserializing trait '.Owner^Missing'. Object '.Owner' does not have "
         u"such trait."},
        {open(u"Owner"), readDWord(u"Name"), 0xfa000a,
         u"POR: There is a mismatch in object property '.Owner.Name'. Expected property type is 'dword', "
         u"actual property type is 'string'."},
    };
    for (const Case& test : cases)
    {
        PORDeserializer reader(unit);
        reader.BeginClass(Contract::Names::Root);
        test.Before(reader);
        const std::size_t depth = reader.Depth();
        const Common::Error error = Failure([&] { test.Failing(reader); });
        EXPECT_EQ(error.GetCode(), test.Code) << Util::UnitToString(*unit);
        EXPECT_EQ(error.GetMessage(), test.Message);
        EXPECT_EQ(reader.Depth(), depth);
        if (test.Code == 0xfa001a)
        {
            EXPECT_EQ(error.GetSubError().GetMessage().rfind(u"Unit: Root", 0), 0u); // the printed unit
        }
    }

    // After a failed request the reader goes on with a sibling.
    PORDeserializer reader(unit);
    reader.BeginClass(Contract::Names::Root);
    EXPECT_NE(Failure([&] { reader.BeginClass(u"Missing"); }).GetCode(), 0u);
    EXPECT_EQ(reader.Depth(), 1u);
    std::uint32_t scalar = 0;
    reader.Read(u"Scalar", scalar);
    EXPECT_EQ(scalar, 5u);
}

TEST(SerializationTest, AbsentSourcesAndValuesHaveNothingToRead)
{
    PORDeserializer noSource(nullptr);
    EXPECT_EQ(Failure([&] { noSource.BeginClass(Contract::Names::Root); }).GetMessage(),
              u"POR: Cannot retrieve the source object.");
    EXPECT_EQ(noSource.Depth(), 0u);

    PORDeserializer absent(WriteRoot(std::shared_ptr<Point>()));
    absent.BeginPointer(Contract::Names::Root, Contract::Names::SharedPtr);
    EXPECT_FALSE(absent.HasValue(Contract::Names::PtrValue));
    absent.BeginClass(Contract::Names::PtrValue);
    const Common::Error version = Failure([&] { absent.GetSubjectVersion(); });
    EXPECT_EQ(version.GetCode(), 0xfa001au);
    EXPECT_EQ(version.GetMessage(), u"POR: Cannot retrieve the subject version.");
    EXPECT_EQ(Failure([&] { absent.AcquireUnit(); }).GetMessage(),
              u"POR: Cannot retrieve the source object.");

    // Units pass through whole; taking one out needs a factory.
    PORSerializer writer;
    writer.BeginClass(Contract::Names::Root);
    Por::Serialization::WriteUnit(writer, u"Any", *Util::Build().Value(4u).Trait("Mark", nullptr).Done());
    writer.End();
    const UnitPtr unit = writer.Result();
    PORDeserializer withFactory(unit);
    withFactory.BeginClass(Contract::Names::Root);
    EXPECT_TRUE(
        UnitEqual(*Por::Serialization::ReadUnit(withFactory, u"Any"), Util::GetPropertyValue(*unit, "Any")));
    PORDeserializer withoutFactory(unit, nullptr);
    withoutFactory.BeginClass(Contract::Names::Root);
    const Common::Error loader = Failure([&] { Por::Serialization::ReadUnit(withoutFactory, u"Any"); });
    EXPECT_EQ(loader.GetCode(), 0xfa0001u);
    EXPECT_EQ(loader.GetMessage(), u"POR: Unit factory cannot be found.");
}

TEST(SerializationTest, WriteFailuresNameThePath)
{
    PORSerializer writer;
    writer.BeginClass(Contract::Names::Root);
    writer.BeginPointer(u"Link", Contract::Names::RawPtr);
    EXPECT_EQ(Failure([&] { writer.Write(u"Other", 1u); }).GetMessage(),
              u"POR: An error occurred while serializing pointer value '.Link'. Unrecognized node name "
              u"encountered: 'Other'.");
    writer.End();
    writer.BeginOptional(u"Maybe", Contract::Names::OptionalType);
    const Common::Error optional = Failure([&] { writer.Write(u"Other", 1u); });
    EXPECT_EQ(optional.GetCode(), 0xfa0019u);
    EXPECT_EQ(optional.GetMessage(), u"POR: An error occurred while serializing optional value '.Maybe'. "
                                     u"Unrecognized node name encountered: 'Other'.");
    writer.End();
    writer.BeginValue(u"Empty");
    EXPECT_EQ(Failure([&] { writer.End(); }).GetMessage(),
              u"POR: An error occurred while serializing '.Empty'. No value was set.");

    PORSerializer nothing;
    EXPECT_EQ(Failure([&] { nothing.Result(); }).GetMessage(),
              u"POR: An error occurred while serializing 'Root'. No value was set.");
}

} // namespace
